// Never blocked in a read or a write: the tools at both ends may stop where they are and still have
// descendants that keep the pipes open.

#include "process/Relay.h"

#include "process/SignalMask.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

bool isTransient(int error) {
  return error == EINTR || error == EAGAIN;
}

} // namespace

Relay::Relay(file::Descriptor from, file::Descriptor to, consumer_t consume)
    : source(std::move(from)), target(std::move(to)), consumer(std::move(consume)) {
  ::fcntl(source.get(), F_SETFL, O_NONBLOCK);
  ::fcntl(target.get(), F_SETFL, O_NONBLOCK);
}

WatchedPipe::watched_t Relay::watched() const {
  // Without an event asked for, poll still reports that nobody reads the target any more.
  const short toWrite = pending.empty() ? 0 : POLLOUT;
  return {{{pending.empty() ? source.get() : -1, POLLIN, 0}, {target.get(), toWrite, 0}}};
}

void Relay::goOn(const watched_t &watched) {
  const short atSource = watched[0].revents;
  const short atTarget = watched[1].revents;
  bool goesOn = !(atTarget & POLLERR);
  if (goesOn && atSource)
    goesOn = readSome();
  if (goesOn && !pending.empty() && (atSource || atTarget))
    goesOn = writePending();
  if (goesOn)
    return;
  source.reset();
  target.reset();
}

bool Relay::readSome() {
  const ssize_t length = ::read(source.get(), buffer.data(), buffer.size());
  if (length <= 0)
    return length < 0 && isTransient(errno);
  pending = std::string_view(buffer.data(), static_cast<std::size_t>(length));
  consumer(pending.data(), pending.size());
  return true;
}

bool Relay::writePending() {
  const NoPipeSignal quiet;
  const ssize_t length = ::write(target.get(), pending.data(), pending.size());
  pending.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 0);
  return length >= 0 || isTransient(errno);
}

} // namespace kelvarune::process
