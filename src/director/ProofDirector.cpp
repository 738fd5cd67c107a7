// The life of a director, and its emergency exit. `stop` may interrupt the thread that owns the
// director in one of its waits while workers go on, so everything it touches is either constant
// during a pass or under a lock that is only ever held for moments.

#include "director/ProofDirector.h"

#include "process/Sessions.h"
#include "process/ToolProcess.h"

#include <chrono>
#include <thread>

using namespace kelvarune;

namespace {

constexpr std::chrono::seconds PATIENCE_AT_STOP(1);
constexpr std::chrono::milliseconds PAUSE_FOR_LATE_WRITERS(20);

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
      markedDriversOnly(markedOnly), installDirs(directories), posFile(pos),
      component(componentName) {
  loaded = mechanism::ofFile(QString::fromStdString(mechanismFile), mechanism, installDirs);
  traceLine("Created a ProofDirector for ", component, " from ", mechanismFile, "\nxml: ", xml,
            " concurrency: ", concurrency, " loaded: ", loaded, " trace: ", trace);
}

ProofDirector::~ProofDirector() {
  traceLine("Destroyed ProofDirector for component ", component);
}

QStringList ProofDirector::errorMessages() const {
  const std::lock_guard lock(errorsMutex);
  return errors;
}

void ProofDirector::addError(const std::string &line, const QString &message) {
  process::writeToStandardError(line + '\n');
  const std::lock_guard lock(errorsMutex);
  errors.append(message);
}

progress_t ProofDirector::progress() const {
  const std::lock_guard lock(progressMutex);
  return currentProgress;
}

bool ProofDirector::stop() {
  if (!posFile.isReady())
    return false; // Nothing runs yet. May have interrupted the load, so nothing is touched either.
  stopping = true;
  std::vector<process::sessions::session_t> sessions;
  {
    const std::lock_guard lock(processesMutex);
    for (process::ToolProcess *process : processes) {
      sessions.push_back({process->session()});
      process->kill();
    }
  }
  removeSecondaryFiles();
  const bool saved =
      posFile.saveBefore(std::chrono::steady_clock::now() + PATIENCE_AT_STOP, resultMutex);
  process::sessions::end(sessions);
  process::offerToStandardError(posFile.takeFailure());
  return saved;
}

void ProofDirector::stopAndCleanUp() {
  if (!posFile.isReady())
    return;
  stop();
  for (const auto pause : {PAUSE_FOR_LATE_WRITERS, std::chrono::milliseconds(0)}) {
    process::sessions::end(process::sessions::all());
    removeSecondaryFiles();
    std::this_thread::sleep_for(pause); // a worker may have been about to start a writer
  }
}
