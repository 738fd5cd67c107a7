// When the document goes into its file, and who waits for whom. What is written is GoalBytes's
// affair, how it gets to the disk FileReplacer's.

#include "pos/PosFile.h"

#include "xml/XmlFile.h"

#include <cstring>
#include <map>
#include <set>
#include <thread>
#include <utility>

using namespace kelvarune;

namespace pos {

namespace {

constexpr std::chrono::milliseconds RETRY_INTERVAL(1);

// Tries until the deadline, by polling: a lock with a time limit is unknown to the thread
// sanitizer, and this is only used when the program is stopped.
bool lockBefore(std::mutex &mutex, std::chrono::steady_clock::time_point deadline) {
  while (!mutex.try_lock()) {
    if (std::chrono::steady_clock::now() >= deadline)
      return false;
    std::this_thread::sleep_for(RETRY_INTERVAL);
  }
  return true;
}

/// The failures that have been reported since the last save of their path that worked. Several
/// objects of a run may save to one path, one after the other.
class Reported {
public:
  bool add(const QString &path, int error) {
    const std::lock_guard lock(mutex);
    return failures[path].insert(error).second;
  }

  void forget(const QString &path) {
    const std::lock_guard lock(mutex);
    failures.erase(path);
  }

private:
  std::mutex mutex;
  std::map<QString, std::set<int>> failures;
};

Reported &reported() {
  static Reported all;
  return all;
}

} // namespace

PosFile::PosFile(QString filePath) : path(std::move(filePath)), replacer(path.toStdString()) {}

bool PosFile::load(QDomDocument &document, const std::function<bool()> &accept) {
  if (loading.exchange(true))
    return false;
  if (!readOnly)
    replacer.begin();
  const xml::read_result_t result = xml::readDocument(path, document);
  wellFormed = result.wellFormed;
  bytes = GoalBytes(document);
  state = state_t::FAILED; // also when accept raises an exception
  if (!result.readable || !accept())
    return false;
  state = state_t::LOADED;
  return true;
}

void PosFile::prepare(std::mutex &documentMutex) {
  const std::lock_guard lock(documentMutex);
  if (state == state_t::LOADED && !readOnly)
    bytes.prepare();
}

bool PosFile::saveUpTo(quint64 ticket, std::mutex &documentMutex) {
  const std::lock_guard writing(writeMutex);
  if (written >= ticket)
    return true; // the write of another thread held it
  if (ended || state != state_t::LOADED)
    return false;
  if (readOnly)
    return true;
  documentMutex.lock();
  return save(documentMutex);
}

bool PosFile::saveBefore(std::chrono::steady_clock::time_point deadline,
                         std::mutex &documentMutex) {
  if (state != state_t::LOADED || !lockBefore(writeMutex, deadline))
    return false;
  const std::lock_guard writing(writeMutex, std::adopt_lock);
  if (readOnly)
    return true;
  if (!std::exchange(ended, true)) {
    endedWell = lockBefore(documentMutex, deadline) && save(documentMutex);
    replacer.removeSpare(); // the program is likely to end without destroying anything
  }
  return endedWell;
}

// Expects both mutexes held and gives the document's back.
bool PosFile::save(std::mutex &documentMutex) {
  QVector<QByteArray> content;
  quint64 collected = 0;
  {
    const std::lock_guard lock(documentMutex, std::adopt_lock);
    collected = issued;
    content = bytes.collect();
  }
  if (!write(content))
    return false;
  written = collected;
  reported().forget(path);
  return true;
}

bool PosFile::write(const QVector<QByteArray> &content) {
  if (!wellFormed && !keepMalformed())
    return false;
  const file::result_t result = replacer.replace(content);
  if (result.foreign != file::foreign_t::NONE)
    noteForeign(result.foreign == file::foreign_t::KEPT);
  if (result.outcome == file::outcome_t::FAILED || result.outcome == file::outcome_t::GONE)
    noteFailure(result.error);
  return result.outcome == file::outcome_t::DONE;
}

// Without a copy of what could not be read the file is not touched: its statuses would be lost.
bool PosFile::keepMalformed() {
  const file::result_t result = replacer.keepBackup();
  if (result.outcome == file::outcome_t::FAILED)
    noteFailure(result.error);
  wellFormed = result.outcome == file::outcome_t::DONE;
  return wellFormed;
}

void PosFile::noteFailure(int error) {
  if (!reported().add(path, error))
    return;
  const std::lock_guard lock(failureMutex);
  failure += "Cannot save POS file " + path.toStdString() + ": " + std::strerror(error) + ".\n";
}

void PosFile::noteForeign(bool kept) {
  const std::string name = path.toStdString();
  const std::lock_guard lock(failureMutex);
  failure += "POS file " + name + " was changed by another program; " +
             (kept ? "that content is kept as " + name + "~.\n" : "that content is lost.\n");
}

std::string PosFile::takeFailure() {
  const std::lock_guard lock(failureMutex);
  return std::exchange(failure, std::string());
}

} // namespace pos
