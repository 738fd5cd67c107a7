// Never blocked in a read or a write: the tools at both ends may stop where they are and still have
// descendants that keep the pipes open.

#include "process/Relay.h"

#include "process/SignalMask.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

constexpr std::size_t RELAY_BUFFER_SIZE = 65536;

bool isTransient(int error) {
  return error == EINTR || error == EAGAIN;
}

} // namespace

Relay::Relay(file::Descriptor from, file::Descriptor to, consumer_t consume)
    : source(std::move(from)), target(std::move(to)), consumer(std::move(consume)),
      wake(file::makePipe()) {
  ::fcntl(source.get(), F_SETFL, O_NONBLOCK);
  ::fcntl(target.get(), F_SETFL, O_NONBLOCK);
  const AllSignalsBlocked blocked; // a broken pipe shows as an error of the write
  thread = std::thread([this] { run(); });
}

Relay::~Relay() {
  wake.writeEnd.reset();
  thread.join();
}

void Relay::run() {
  std::array<char, RELAY_BUFFER_SIZE> buffer;
  std::string_view pending;
  while (true) {
    // Without an event asked for, poll still reports that nobody reads the target any more.
    const short toWrite = pending.empty() ? 0 : POLLOUT;
    pollfd watched[] = {{pending.empty() ? source.get() : -1, POLLIN, 0},
                        {target.get(), toWrite, 0},
                        {wake.readEnd.get(), POLLIN, 0}};
    if (::poll(watched, 3, -1) < 0 && errno != EINTR)
      break;
    if (watched[2].revents || (watched[1].revents & POLLERR))
      break;
    if (watched[0].revents) {
      const ssize_t length = ::read(source.get(), buffer.data(), buffer.size());
      if (length == 0 || (length < 0 && !isTransient(errno)))
        break;
      if (length > 0) {
        pending = std::string_view(buffer.data(), static_cast<std::size_t>(length));
        consumer(pending.data(), pending.size());
      }
    } else if (watched[1].revents) {
      const ssize_t length = ::write(target.get(), pending.data(), pending.size());
      if (length < 0 && !isTransient(errno))
        break;
      pending.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 0);
    }
  }
  source.reset();
  target.reset();
}

} // namespace kelvarune::process
