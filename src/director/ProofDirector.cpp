// The life of a director, and its end before time. A stop may come at any moment of a play, from
// any thread. It first shuts the gate through which tools start; whoever publishes a result looks
// at that gate under the lock of the document. So what the stop then kills and saves is all there
// is.

#include "director/ProofDirector.h"

#include "director/DirectorParts.h"

#include <chrono>
#include <utility>

using namespace kelvarune;

namespace {

constexpr std::chrono::seconds PATIENCE_AT_STOP(1);

} // namespace

ProofDirector::ProofDirector(const std::string &componentName, const std::string &mechanismFile,
                             const std::string &posPath, const std::string &pogPath,
                             const std::string &directory,
                             const std::vector<std::string> &directories, bool xmlOutput,
                             unsigned int jobs, int traceLevel, const std::string &driver,
                             const std::string &goal, bool markedOnly)
    : driverFilter(QString::fromStdString(driver)), poFilter(QString::fromStdString(goal)),
      pos(QString::fromStdString(posPath)), pog(QString::fromStdString(pogPath)),
      dir(QString::fromStdString(directory)), xml(xmlOutput), concurrency(jobs), trace(traceLevel),
      markedDriversOnly(markedOnly), installDirs(directories), component(componentName),
      parts(std::make_unique<director_parts_t>(pos, xml, trace, jobs)) {
  loaded = mechanism::ofFile(QString::fromStdString(mechanismFile), mechanism, installDirs);
  parts->traces.line("Created a ProofDirector for ", component, " from ", mechanismFile,
                     "\nxml: ", xml, " concurrency: ", concurrency, " loaded: ", loaded,
                     " trace: ", trace);
}

ProofDirector::~ProofDirector() {
  parts->traces.line("Destroyed ProofDirector for component ", component);
}

void ProofDirector::choose(const play_choice_t &choice) {
  parts->choice = choice;
  if (!choice.record)
    parts->posFile.leaveAsItIs();
  if (choice.keepSecondaryFiles)
    parts->secondaryFiles.keep();
}

void ProofDirector::setObserver(observer_t observer, watch_t watch) {
  parts->observers.set(std::move(observer), watch);
}

void ProofDirector::setJobSlots(JobSlots &slots) {
  parts->slots = &slots;
}

unsigned int ProofDirector::leastConcurrency() const {
  return parts->crew.leastWorkers();
}

bool ProofDirector::isDesignated() const {
  return !poFilter.isEmpty() || (!parts->choice.goals.empty() && !parts->choice.record);
}

QStringList ProofDirector::errorMessages() const {
  return parts->failures.all();
}

void ProofDirector::addError(const std::string &line, const QString &message) {
  if (!parts->choice.quiet)
    process::writeToStandardError(line + '\n');
  parts->failures.add(message);
}

// Keeps a failed save among the errors and returns the line to report it with, or nothing.
std::string ProofDirector::takeFailedSave() {
  std::string line = parts->posFile.takeFailure();
  if (!line.empty())
    parts->failures.add(QString::fromStdString(line).trimmed());
  return line;
}

progress_t ProofDirector::progress() const {
  return parts->progress.now();
}

bool ProofDirector::stop() {
  parts->tools.close();
  if (parts->slots)
    parts->slots->wake();
  const auto sessions = parts->tools.kill();
  removeSecondaryFiles();
  const auto deadline = std::chrono::steady_clock::now() + PATIENCE_AT_STOP;
  const bool saved = parts->posFile.saveBefore(deadline, resultMutex);
  process::sessions::end(sessions);
  process::offerToStandardError(takeFailedSave());
  return saved;
}

bool ProofDirector::stopAndCleanUp() {
  const bool saved = stop();
  parts->tools.endAll();
  removeSecondaryFiles();
  return saved;
}
