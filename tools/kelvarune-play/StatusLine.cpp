// The last row of the screen is taken out of the part that scrolls. That state outlives the
// program, so it is undone on every way out that a program can see: the end of a run, a stop, a
// suspension, and the signals that end it unhandled.

#include "StatusLine.h"

#include "process/SignalMask.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

constexpr std::chrono::milliseconds INTERVAL(200);
constexpr int PATIENCE_MS = 100;

// Each leaves the cursor where it was. The first scrolls up by one when the cursor is in the last
// row; it must not use a line feed, which a terminal may turn into a return to the first column.
// Nothing but an old line can stand below the cursor once a last row is kept apart.
constexpr char LEAVE_LAST_ROW[] = "\033D\033[1A";
constexpr char DROP_LAST_ROW[] = "\0337\033[r\0338\033[J";
constexpr char GIVE_BACK[] = "\0337\033[r\033[999;1H\033[2K\0338";

/// Whether the last row of the screen is kept apart.
std::atomic<bool> isKept = false;

std::mutex showMutex;
bool isOver = false; // guarded by showMutex: nothing is shown any more

// A terminal halted by its user takes nothing; then the text is lost rather than the program held.
void writeOut(const char *text, std::size_t size) {
  pollfd watched = {STDERR_FILENO, POLLOUT, 0};
  if (::poll(&watched, 1, PATIENCE_MS) > 0 && ::write(STDERR_FILENO, text, size) < 0)
    return; // the terminal is gone; nothing depends on it
}

void giveScreenBack() {
  if (isKept.exchange(false))
    writeOut(GIVE_BACK, std::strlen(GIVE_BACK));
}

// For signals that suspend or end the program without its doing.
void leaveScreen(int signal) {
  giveScreenBack();
  ::raise(signal == SIGTSTP ? SIGSTOP : signal); // the others have their default effect again
}

void handleUnlessIgnored(int signal, int flags) {
  struct sigaction previous = {};
  struct sigaction action = {};
  action.sa_handler = leaveScreen;
  action.sa_flags = flags;
  if (::sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_DFL)
    ::sigaction(signal, &action, nullptr);
}

bool isUsableTerminal() {
  const char *type = std::getenv("TERM");
  return ::isatty(STDERR_FILENO) && !(type && std::strcmp(type, "dumb") == 0);
}

// Shells read and draw their prompt on the same screen while the program is in the background.
bool isInForeground() {
  const pid_t foreground = ::tcgetpgrp(STDERR_FILENO);
  return foreground < 0 || foreground == ::getpgrp();
}

winsize screenSize() {
  winsize size = {};
  ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size);
  if (size.ws_row == 0 || size.ws_col == 0) // a terminal that does not know, such as a serial line
    size = {24, 80, 0, 0};
  return size;
}

} // namespace

StatusLine::StatusLine(std::function<std::string()> shownText) : text(std::move(shownText)) {
  if (!isUsableTerminal())
    return;
  handleUnlessIgnored(SIGTSTP, SA_RESTART);
  for (const int signal : {SIGQUIT, SIGABRT, SIGPIPE})
    handleUnlessIgnored(signal, SA_RESETHAND);
  const process::AllSignalsBlocked blocked;
  thread = std::thread([this] { run(); });
}

StatusLine::~StatusLine() {
  end();
}

void StatusLine::endAll() {
  const std::lock_guard lock(showMutex);
  isOver = true;
  giveScreenBack();
}

void StatusLine::end() {
  if (!thread.joinable())
    return;
  {
    const std::lock_guard lock(mutex);
    ending = true;
  }
  ended.notify_one();
  thread.join();
  giveScreenBack();
}

void StatusLine::run() {
  std::unique_lock lock(mutex);
  while (!ended.wait_for(lock, INTERVAL, [this] { return ending; }))
    show();
}

void StatusLine::show() {
  const std::lock_guard lock(showMutex);
  if (isOver)
    return;
  const std::string line = text();
  const winsize size = screenSize();
  if (line.empty() || size.ws_row < 2 || !isInForeground())
    return;
  std::string output;
  // Terminals forget what is kept apart when they are resized in any direction.
  if (!isKept || size.ws_row != rows || size.ws_col != columns)
    output = (isKept ? DROP_LAST_ROW : "") + std::string(LEAVE_LAST_ROW) + "\0337\033[1;" +
             std::to_string(size.ws_row - 1) + "r\0338";
  rows = size.ws_row;
  columns = size.ws_col;
  output += "\0337\033[" + std::to_string(rows) + ";1H\033[2K" +
            QString::fromStdString(line).left(columns - 1).toStdString() + "\0338";
  isKept = true;
  writeOut(output.data(), output.size());
}
