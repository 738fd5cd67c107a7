// The buffer has the size of a pipe, so one call empties a full one.

#include "process/PipeReader.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/ioctl.h>

namespace kelvarune::process {

namespace {

constexpr std::size_t BUFFER_SIZE = 65536;

} // namespace

PipeReader::PipeReader(file::Descriptor pipe, consumer_t consume, std::size_t limitBytes)
    : readEnd(std::move(pipe)), consumer(std::move(consume)), limit(limitBytes) {
  if (readEnd.isOpen())
    ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK);
}

WatchedPipe::watched_t PipeReader::watched() const {
  return {{{readEnd.get(), POLLIN, 0}, {-1, 0, 0}}};
}

void PipeReader::goOn(const watched_t &watched) {
  if (watched[0].revents)
    readSome();
}

void PipeReader::readSome() {
  readUpTo(BUFFER_SIZE);
}

void PipeReader::readRest() {
  int available = 0;
  if (!readEnd.isOpen() || ::ioctl(readEnd.get(), FIONREAD, &available) != 0)
    return;
  for (std::size_t rest = static_cast<std::size_t>(available); rest > 0;) {
    const std::size_t length = readUpTo(std::min(rest, BUFFER_SIZE));
    if (length == 0)
      return;
    rest -= length;
  }
}

std::size_t PipeReader::readUpTo(std::size_t size) {
  std::array<char, BUFFER_SIZE> buffer;
  const ssize_t length = ::read(readEnd.get(), buffer.data(), size);
  if (length > 0) {
    const auto count = static_cast<std::size_t>(length);
    consumer(buffer.data(), count);
    limit -= std::min(limit, count);
    if (limit == 0)
      readEnd.reset();
    return count;
  }
  if (length == 0 || (errno != EINTR && errno != EAGAIN))
    readEnd.reset();
  return 0;
}

} // namespace kelvarune::process
