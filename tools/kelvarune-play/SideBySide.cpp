// The parts are processes, so that each has its own output, locks and memory, and what ends one
// does not end another. They share the budget through the jobserver: each runs one entry for the
// slot that it was started with and takes tokens for more, so that what one has no use for is used
// by the others. This process only waits: for a slot to start another part, for an end, and for
// whoever reads what the parts have written.

#include "SideBySide.h"

#include "Outputs.h"
#include "Part.h"
#include "ProgressText.h"
#include "StatusLine.h"
#include "jobserver/Slots.h"
#include "output/Output.h"
#include "process/StandardStreams.h"
#include "process/ToolProcess.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <tuple>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

using steady_t = std::chrono::steady_clock;

enum part_status_t {
  PART_COMPLETED = 0,
  PART_NOT_PROVED = 1,
  PART_UNPLAYABLE = 2,
  PART_FAILED = 3,
  PART_SIGNALLED = 128
};

constexpr std::chrono::seconds PATIENCE_AT_STOP(20); // a save may wait for a slow disk
constexpr std::chrono::seconds PATIENCE_OF_READERS(1);
constexpr int ASK_AGAIN_MS = 5; // where the kernel does not tell the end of a process

/// A part that has been started.
struct play_t {
  std::unique_ptr<process::ToolProcess> process; ///< while it runs
  Part shared = Part::make();                    ///< likewise
  file::Descriptor output;
  file::Descriptor errors;
  std::string fault; ///< why it was not started
};

struct counts_t {
  unsigned long known = 0;
  unsigned long finished = 0;
  unsigned long proved = 0;

  void add(const part_progress_t *progress) {
    if (!progress)
      return;
    known += progress->known;
    finished += progress->finished;
    proved += progress->proved;
  }
};

/// The order of starting.
std::vector<std::size_t> longestFirst(const std::vector<part_t> &parts) {
  std::vector<std::size_t> order(parts.size());
  std::iota(order.begin(), order.end(), 0);
  const auto rank = [&parts](std::size_t index) {
    const part_t &part = parts[index];
    return std::make_tuple(part.expectedSeconds >= 0, -std::max(part.expectedSeconds, 0.0),
                           ~part.size);
  };
  std::stable_sort(order.begin(), order.end(),
                   [&rank](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
  return order;
}

std::uint64_t sizeOf(const file::Descriptor &spool) {
  struct stat status = {};
  return spool.isOpen() && ::fstat(spool.get(), &status) == 0
             ? static_cast<std::uint64_t>(status.st_size)
             : 0;
}

/// Whether the process has ended, which is then known to it.
bool hasEnded(process::ToolProcess &process) {
  if (process.descriptor() < 0)
    return process.waitForEnd({}, 1);
  pollfd watched = {process.descriptor(), POLLIN, 0};
  return ::poll(&watched, 1, 0) > 0 && process.waitForEnd();
}

class SideBySide {
public:
  SideBySide(const std::vector<part_t> &parts, jobserver::Tokens &tokens);
  ~SideBySide();
  SideBySide(const SideBySide &) = delete;
  SideBySide &operator=(const SideBySide &) = delete;

  int play();
  void stop(int number);
  std::string progressText();

private:
  void startMore();
  bool start(std::size_t index);
  void await();
  void reap();
  void end(std::size_t index);
  void collect();
  void report() const;
  int status() const;
  QStringList namesWith(int status) const;

  const std::vector<part_t> &parts;
  const std::vector<std::size_t> order;
  jobserver::Tokens &tokens;
  jobserver::Slots slots;
  std::size_t nextStart = 0;   // in the order
  std::size_t nextCollect = 0; // of the parts
  std::size_t slotsHeld = 0;
  bool hasRoom = true; // for one more process; else one has to end first
  Outputs outputs;
  file::pipe_t bell; // rings at a stop
  const steady_t::time_point begin = steady_t::now();

  std::mutex mutex; // guards what follows
  std::condition_variable changed;
  std::vector<std::optional<play_t>> plays;
  std::vector<std::optional<int>> statuses; // negative: by that signal
  counts_t ended;                           // of the parts that have
  std::size_t running = 0;
  int stopNumber = 0;
  bool isOver = false;
};

std::mutex currentMutex;
SideBySide *current = nullptr; // guarded by currentMutex

SideBySide::SideBySide(const std::vector<part_t> &given, jobserver::Tokens &givenTokens)
    : parts(given), order(longestFirst(given)), tokens(givenTokens), slots(givenTokens),
      bell(file::makePipe()), plays(given.size()), statuses(given.size()) {
  const std::lock_guard lock(currentMutex);
  current = this;
}

SideBySide::~SideBySide() {
  const std::lock_guard lock(currentMutex);
  current = nullptr;
}

int SideBySide::play() {
  {
    const StatusLine line([this] { return progressText(); });
    while (running > 0 || nextStart < order.size() || !outputs.isEmpty()) {
      startMore();
      await();
      reap();
      collect();
    }
  }
  const std::lock_guard lock(mutex);
  report();
  isOver = true;
  changed.notify_all();
  return status();
}

// A slot for each part that runs.
void SideBySide::startMore() {
  while (nextStart < order.size()) {
    if (slotsHeld == running) {
      if (!slots.acquireNow())
        break;
      ++slotsHeld;
    }
    hasRoom = start(order[nextStart]);
    if (!hasRoom)
      break;
    ++nextStart;
  }
  for (; slotsHeld > running; --slotsHeld)
    slots.release();
}

// False when that is to be tried later, or never.
bool SideBySide::start(std::size_t index) {
  play_t play;
  play.output = Outputs::makeSpool();
  play.errors = Outputs::makeSpool();
  process::start_t how;
  how.program = QCoreApplication::applicationFilePath().toStdString();
  how.words = {"kelvarune-play"};
  for (const QString &argument : parts[index].arguments)
    how.words.push_back(argument.toStdString());
  how.standardOutput = play.output.get();
  how.standardError = play.errors.get();
  how.place = process::place_t::CALLERS_SESSION;
  play.process = std::make_unique<process::ToolProcess>();
  play.shared.announce();
  process::letToolsInherit({play.shared.descriptor()});
  const bool hasSpools = play.output.isOpen() && play.errors.isOpen();

  const std::lock_guard lock(mutex); // a stop comes before or after
  if (stopNumber != 0) {
    nextStart = order.size();
    return false;
  }
  if (hasSpools && play.process->start(how)) {
    ++running;
  } else if (running > 0 && (!hasSpools || play.process->lacksRoom())) {
    return false;
  } else {
    play.fault = hasSpools ? "cannot be started"
                           : "no file can be made below " + QDir::tempPath().toStdString();
    play.process.reset();
    statuses[index] = PART_FAILED;
  }
  plays[index] = std::move(play);
  return true;
}

// Waits until something can be done.
void SideBySide::await() {
  const bool wantsSlot = hasRoom && nextStart < order.size();
  std::vector<pollfd> watched = {{bell.readEnd.get(), POLLIN, 0},
                                 {outputs.target(), POLLOUT, 0},
                                 {wantsSlot ? tokens.descriptor() : -1, POLLIN, 0}};
  int limitMs = -1;
  for (const auto &play : plays) {
    if (!play || !play->process)
      continue;
    watched.push_back({play->process->descriptor(), POLLIN, 0});
    limitMs = play->process->descriptor() < 0 ? ASK_AGAIN_MS : limitMs;
  }
  if (running == 0 && outputs.isEmpty())
    return;
  ::poll(watched.data(), watched.size(), limitMs);
  if (watched[0].revents)
    bell.readEnd.reset(); // it has said all it has to say
  if (watched[1].revents)
    outputs.writeSome();
}

void SideBySide::reap() {
  for (std::size_t i = 0; i < plays.size(); ++i) {
    if (plays[i] && plays[i]->process && hasEnded(*plays[i]->process))
      end(i);
  }
}

void SideBySide::end(std::size_t index) {
  const std::lock_guard lock(mutex);
  play_t &play = *plays[index];
  statuses[index] =
      play.process->crashed() ? -play.process->endSignal() : play.process->exitStatus();
  ended.add(play.shared.progress());
  play.process.reset();
  play.shared = Part();
  --running;
  changed.notify_all();
}

// Hands on what the parts have written, as far as all before them have ended.
void SideBySide::collect() {
  const std::lock_guard lock(mutex);
  for (; nextCollect < parts.size(); ++nextCollect) {
    std::optional<play_t> &play = plays[nextCollect];
    if (!statuses[nextCollect] && (play || stopNumber == 0))
      return;
    if (!play)
      continue;
    const std::string name = "kelvarune-play: " + shown(parts[nextCollect].name).toStdString();
    if (sizeOf(play->output) > 0)
      outputs.add(STDOUT_FILENO, std::move(play->output));
    if (!play->fault.empty())
      outputs.add(STDERR_FILENO, name + ": " + play->fault + ".\n");
    if (sizeOf(play->errors) > 0) {
      outputs.add(STDERR_FILENO, name + ":\n");
      outputs.add(STDERR_FILENO, std::move(play->errors));
    }
    play.reset();
  }
}

QStringList SideBySide::namesWith(int status) const {
  QStringList names;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (statuses[i] == status)
      names << shown(parts[i].name);
  }
  return names;
}

// Expects the mutex held.
void SideBySide::report() const {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const int status = statuses[i].value_or(PART_COMPLETED);
    const int number = status < 0 ? -status : status - PART_SIGNALLED;
    if (number > 0 && number != stopNumber)
      complain("%1 was ended by signal %2."_s.arg(shown(parts[i].name)).arg(number));
  }
  const QStringList unplayed = namesWith(PART_UNPLAYABLE);
  if (!unplayed.isEmpty())
    complain("%1 of %2 could not be played: %3"_s.arg(
        QString::number(unplayed.size()), counted(static_cast<int>(parts.size()), "component"),
        unplayed.join(", "_s)));
  const auto done = std::count_if(statuses.begin(), statuses.end(), [](const auto &status) {
    return status && *status >= PART_COMPLETED && *status <= PART_FAILED;
  });
  if (stopNumber != 0)
    complain("stopped: %1 of %2 done."_s.arg(QString::number(done),
                                             counted(static_cast<int>(parts.size()), "component")));
}

// Expects the mutex held.
int SideBySide::status() const {
  if (stopNumber != 0)
    return PART_SIGNALLED + stopNumber;
  int worst = PART_COMPLETED;
  for (const std::optional<int> &status : statuses) {
    const int each =
        status && *status >= PART_COMPLETED && *status <= PART_FAILED ? *status : PART_FAILED;
    const bool isWorse = each == PART_UNPLAYABLE || (worst != PART_UNPLAYABLE && each > worst);
    worst = isWorse ? each : worst;
  }
  return worst;
}

void SideBySide::stop(int number) {
  std::unique_lock lock(mutex);
  stopNumber = number;
  for (const auto &play : plays) {
    if (play && play->process)
      play->process->kill(number);
  }
  if (::isatty(STDERR_FILENO))
    process::offerToStandardError("\n"); // which has shown "^C"
  bell.writeEnd.reset();
  changed.wait_for(lock, PATIENCE_AT_STOP, [this] { return running == 0; });
  changed.wait_for(lock, PATIENCE_OF_READERS, [this] { return isOver; });
}

std::string SideBySide::progressText() {
  const std::lock_guard lock(mutex);
  counts_t counts = ended;
  std::size_t done = 0;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    done += statuses[i] ? 1 : 0;
    if (plays[i])
      counts.add(plays[i]->shared.progress());
  }
  const std::chrono::duration<double> elapsed = steady_t::now() - begin;
  return std::to_string(done) + "/" + std::to_string(parts.size()) + " components, " +
         std::to_string(running) + " playing; " + std::to_string(counts.finished) + "/" +
         std::to_string(counts.known) + " entries, " + std::to_string(counts.proved) + " proved, " +
         durationText(elapsed.count()) + " elapsed";
}

} // namespace

int playSideBySide(const std::vector<part_t> &parts, jobserver::Tokens &tokens) {
  return SideBySide(parts, tokens).play();
}

bool stopSideBySide(int number) {
  const std::lock_guard lock(currentMutex);
  if (current)
    current->stop(number);
  return current;
}
