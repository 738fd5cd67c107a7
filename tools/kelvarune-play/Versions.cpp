// The verdicts of a prover are worth what its version is worth. Asking for it must cost a run
// nothing: it is done beside the play, of a program that has not changed never again, and of none
// that the run does not need.

#include "Versions.h"

#include "file/Io.h"
#include "history/Database.h"
#include "history/Past.h"
#include "text/Literals.h"
#include "wrapper/Layers.h"

#include <QCryptographicHash>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/stat.h>

using namespace kelvarune;

using history::prover_t;

namespace {

constexpr std::chrono::seconds ASKING_PATIENCE(4); // a program may take two seconds, and has to end
constexpr std::chrono::seconds ENDING_PATIENCE(1); // where nothing more is asked
constexpr int READ_BYTES = 1 << 16;

/// The path of the prover behind the programs that stand before it; empty when it is not found.
QString proverOf(const tool_record_t &tool) {
  const QString word =
      wrapper::layersOf(QString::fromStdString(tool.program.native()), tool.arguments)
          .back()
          .program;
  return word.contains(QLatin1Char('/')) ? word : QStandardPaths::findExecutable(word);
}

/// What differs when a file does; empty when there is none.
QString stampOf(const std::string &path) {
  std::error_code error;
  const std::filesystem::path file = std::filesystem::canonical(path, error);
  struct stat status;
  if (error || ::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    return QString();
  return "%1 %2 %3.%4"_s.arg(QString::fromStdString(file.native()))
      .arg(status.st_size)
      .arg(status.st_mtim.tv_sec)
      .arg(status.st_mtim.tv_nsec, 9, 10, QLatin1Char('0'));
}

bool isScript(const std::string &path) {
  char begin[2] = {};
  const file::Descriptor file = file::openFile(path, O_RDONLY);
  return file.isOpen() && file::readSome(file.get(), begin, sizeof begin) == sizeof begin &&
         begin[0] == '#' && begin[1] == '!';
}

/// A null string when it cannot be read, or is not wanted any more.
QString digestOfProgram(const std::string &path, VersionText &stopping) {
  QCryptographicHash hash(QCryptographicHash::Sha256);
  const file::Descriptor file = file::openFile(path, O_RDONLY);
  std::vector<char> block(READ_BYTES);
  for (ssize_t count; (count = file::readSome(file.get(), block.data(), block.size())) != 0;) {
    if (count < 0 || stopping.isStopped())
      return QString();
    hash.addData(block.data(), static_cast<int>(count));
  }
  return QLatin1String(hash.result().toHex());
}

/// The prover at this path as it was noted, or, if there was none, one of its name that has moved
/// there: whose path is not among `now`.
const prover_t *noteOf(const prover_t &prover, const std::vector<prover_t> &before,
                       const std::vector<prover_t> &now) {
  const auto find = [](const std::vector<prover_t> &provers, const QString &path) {
    return std::find_if(provers.begin(), provers.end(),
                        [&](const prover_t &each) { return each.path == path; });
  };
  auto note = find(before, prover.path);
  if (note == before.end())
    note = std::find_if(before.begin(), before.end(), [&](const prover_t &each) {
      return each.name == prover.name && find(now, each.path) == now.end();
    });
  return note == before.end() ? nullptr : &*note;
}

/// Its name and version are null when there is nothing to note.
prover_t askIfNew(const QString &program, const prover_t *before, VersionText &versionText) {
  const std::string path = program.toStdString();
  prover_t prover = {program.section(QLatin1Char('/'), -1), program, {}, {}, stampOf(path)};
  const bool isSame = before && before->stamp == prover.stamp;
  if (isSame && (before->version.isNull() || !isScript(path)))
    return *before;
  prover.version = versionText.of(path);
  if (prover.version.isNull() && isSame) // it is busy, or what the script runs is not there today
    return *before;
  if (prover.version.isNull())
    prover.digest = digestOfProgram(path, versionText);
  return prover;
}

std::vector<prover_t> readBefore(const QString &path) {
  try {
    return history::readLastProvers(path);
  } catch (const history::Failure &) { // the recorder tells what there is to tell
    return {};
  }
}

} // namespace

Versions::Versions(const QString &path, note_t note) : path(path), note(std::move(note)) {}

Versions::~Versions() {
  versionText.stop();
  std::unique_lock lock(mutex);
  while (!endThread(lock, ENDING_PATIENCE)) {
  }
}

void Versions::take(const entry_record_t &record) {
  const auto end = record.prover.end;
  if (end == tool_record_t::end_t::NOT_RUN || end == tool_record_t::end_t::NOT_STARTED)
    return;
  const std::lock_guard lock(mutex);
  if (over || !drivers.emplace(record.mechanism, record.driver).second)
    return;
  const QString program = proverOf(record.prover);
  if (program.isEmpty() || !programs.insert(program).second)
    return;
  waiting.push_back(program);
  changed.notify_all();
  if (thread.joinable())
    return;
  try {
    thread = std::thread([this] { work(); });
    working = true;
  } catch (const std::system_error &) {
    over = true;
  }
}

void Versions::work() {
  const std::vector<prover_t> known = readBefore(path);
  std::unique_lock lock(mutex);
  before = known;
  for (;;) {
    changed.wait(lock, [this] { return over || !waiting.empty(); });
    if (waiting.empty())
      break;
    const QString program = waiting.front();
    waiting.pop_front();
    lock.unlock();
    const auto old = std::find_if(known.begin(), known.end(),
                                  [&](const prover_t &each) { return each.path == program; });
    const prover_t prover = askIfNew(program, old == known.end() ? nullptr : &*old, versionText);
    lock.lock();
    if (versionText.isStopped())
      break;
    if (!prover.version.isNull() || !prover.digest.isNull()) {
      now.push_back(prover);
      note(prover);
    }
  }
  working = false;
  changed.notify_all();
}

// False when the thread has not ended in time. Expects the mutex held: a stop may come while the
// run ends by itself. The thread does not take it any more once it has said that it works no
// longer.
bool Versions::endThread(std::unique_lock<std::mutex> &lock, std::chrono::milliseconds patience) {
  over = true;
  changed.notify_all();
  if (!changed.wait_for(lock, patience, [this] { return !working; }))
    return false;
  if (thread.joinable())
    thread.join();
  return true;
}

// What is not known by then is asked again by the next run.
QStringList Versions::finish() {
  std::unique_lock lock(mutex);
  if (!endThread(lock, ASKING_PATIENCE)) {
    versionText.stop();
    endThread(lock, ENDING_PATIENCE);
  }
  return changes();
}

QStringList Versions::stop() {
  versionText.stop();
  std::unique_lock lock(mutex);
  const bool isToldElsewhere = over; // by the run's end
  endThread(lock, ENDING_PATIENCE);
  return isToldElsewhere ? QStringList() : changes();
}

// Expects the mutex held.
QStringList Versions::changes() const {
  QStringList lines;
  for (const prover_t &prover : now) {
    const prover_t *note = noteOf(prover, before, now);
    const QString line = note ? history::changeOf(*note, prover) : QString();
    if (!line.isEmpty())
      lines << line;
  }
  return lines;
}
