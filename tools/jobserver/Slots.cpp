// Of those who wait one watches the pipe, and the others wait for that one. The slot that needs no
// token is given back last, so that a process with nothing to run holds no token.

#include "jobserver/Slots.h"

#include <poll.h>
#include <unistd.h>

namespace kelvarune::jobserver {

Slots::Slots(Tokens &given) : tokens(given), bell(file::makePipe()) {
  for (const file::Descriptor *end : {&bell.readEnd, &bell.writeEnd})
    ::fcntl(end->get(), F_SETFL, O_NONBLOCK);
}

// Expects the mutex held.
bool Slots::take() {
  if (!isFirstTaken)
    return isFirstTaken = true;
  if (!bell.readEnd.isOpen() || !tokens.take())
    return false;
  ++moreTaken;
  return true;
}

bool Slots::acquireNow() {
  const std::lock_guard lock(mutex);
  return take();
}

bool Slots::acquire(const std::function<bool()> &isWanted) {
  std::unique_lock lock(mutex);
  bool isMine = false;
  while (isWanted() && !(isMine = take())) {
    if (isAwaited)
      changed.wait(lock);
    else
      awaitToken(lock);
  }
  if (!isAwaited)
    changed.notify_one(); // who watches next
  return isMine;
}

void Slots::awaitToken(std::unique_lock<std::mutex> &lock) {
  isAwaited = true;
  lock.unlock();
  // Without a bell there are no tokens either; a slot is then waited for by looking for it.
  constexpr int ASK_AGAIN_MS = 5;
  const bool hasBell = bell.readEnd.isOpen();
  pollfd watched[] = {{hasBell ? tokens.descriptor() : -1, POLLIN, 0},
                      {bell.readEnd.get(), POLLIN, 0}};
  ::poll(watched, 2, hasBell ? -1 : ASK_AGAIN_MS);
  char rings[64];
  if (watched[1].revents && ::read(bell.readEnd.get(), rings, sizeof rings) < 0)
    watched[1].revents = 0; // it has been heard already
  lock.lock();
  isAwaited = false;
}

void Slots::release() {
  const std::lock_guard lock(mutex);
  if (moreTaken > 0) {
    --moreTaken;
    tokens.giveBack(); // which whoever watches the pipe sees
    return;
  }
  isFirstTaken = false;
  ring();
  changed.notify_one();
}

void Slots::wake() {
  const std::lock_guard lock(mutex);
  ring();
  changed.notify_all();
}

void Slots::ring() {
  if (isAwaited && ::write(bell.writeEnd.get(), "", 1) < 0)
    return; // it rings already
}

} // namespace kelvarune::jobserver
