// The director plays and prints; here is what comes before and after each mechanism, and what is
// said at the end. Standard output is kelvarune's, with explanations where they are asked for;
// everything else that is said goes to standard error.

#include "Run.h"

#include "DryRun.h"
#include "Explanation.h"
#include "ProgressText.h"
#include "Reference.h"
#include "StatusLine.h"
#include "director/ProofDirector.h"
#include "front/Report.h"
#include "front/Utils.h"
#include "front/Waiting.h"
#include "output/Output.h"
#include "output/Words.h"
#include "pos/Faults.h"
#include "process/StandardStreams.h"
#include "text/Literals.h"

#include <QDir>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

using namespace kelvarune;

namespace {

enum run_status_t { COMPLETED = 0, NOT_PROVED = 1, FAILED = 3 };

// For whoever ends the program while another thread plays.
std::mutex runMutex;
Run *currentRun = nullptr; // guarded by runMutex

std::unique_ptr<ProofDirector> directorFor(const plan_t &plan, const std::string &component,
                                           const QString &mechanism) {
  const play_options_t &options = plan.options;
  std::unique_ptr<ProofDirector> director(
      new ProofDirector(component, mechanism.toStdString(), options.posPath.toStdString(),
                        options.pogPath.toStdString(), plan.directory.toStdString(),
                        options.installDirs, options.xml, options.concurrency, options.trace,
                        options.driver.toStdString(), std::string(), options.fast));
  director->choose(plan.choice);
  if (plan.slots)
    director->setJobSlots(*plan.slots);
  return director;
}

QString nameOf(const ProofDirector &director, const QString &driver) {
  return textOf(driver_name_t{QString::fromStdString(director.getMechanismName()), driver});
}

/// The lines, each once and with its count.
QStringList countedOnce(const QStringList &lines) {
  std::map<QString, int> counts;
  for (const QString &line : lines)
    ++counts[line];
  QStringList result;
  for (const auto &[line, count] : counts)
    result << "%1 (%2)"_s.arg(line, counted(count, "time"));
  return result;
}

bool everyGoalIsProved(const std::string &posPath) {
  pos::metrics_t metrics;
  return pos::getMetrics(posPath, metrics) && metrics.proved == metrics.total;
}

/// The proofs that are not in the POS file any more.
QStringList lostProofsIn(const QString &posPath, const std::vector<goal_t> &reference) {
  QDomDocument document;
  if (reference.empty())
    return {};
  if (!pos::readFaults(posPath, pos::use_t::COUNTING, document).empty())
    return {posPath + ": cannot be read any more"_s};
  return lostProofs(reference, goalsOf(document));
}

void tellEach(const QStringList &lines) {
  std::for_each(lines.begin(), lines.end(), complain);
}

} // namespace

Run::Run(const plan_t &plan)
    : plan(plan), options(plan.options), posPath(options.posPath.toStdString()),
      component(baseNameOfPath(posPath)), entries(options), recording(options),
      leastJobs(options.concurrency) {
  const std::lock_guard lock(runMutex);
  currentRun = this;
}

Run::~Run() {
  const std::lock_guard lock(runMutex);
  currentRun = nullptr;
}

int Run::play(StopOnSignals &stopOnSignals) {
  if (options.xml)
    process::writeToStandardOutput("<proof>\n");
  const bool nothing = options.failed && plan.choice.goals.empty();
  if (nothing)
    complain("--failed: every goal of %1 is proved, nothing is played."_s.arg(options.posPath));
  for (int i = 0; i < options.mechanisms.size() && !nothing && !entries.isOver(); ++i)
    playMechanism(options.mechanisms[i], stopOnSignals);
  print_metrics(posPath, options.xml, component);
  const QStringList lost = lostProofsIn(options.posPath, plan.reference);
  report(lost);
  const int result = status(lost);
  tellEach(recording.end(result));
  return result;
}

void Run::playMechanism(const QString &mechanism, StopOnSignals &stopOnSignals) {
  const std::unique_ptr<ProofDirector> made = directorFor(plan, component, mechanism);
  recording.startMechanism(mechanism, made->getMechanism());
  made->setObserver(
      [this, &director = *made](const entry_record_t &record) {
        recording.take(record);
        tellStarter(director);
        if (entries.take(record))
          director.stop();
      },
      options.explain || !options.log.isEmpty() || options.keepsHistory() ? watch_t::PROVER_OUTPUT
                                                                          : watch_t::TOOLS);
  std::vector<file::RunLock> locks;
  if (!plan.isPrivate)
    locks = waitForSecondaryFiles(plan.directory.toStdString(), options.pogPath.toStdString(),
                                  made->getMechanism());
  print_proving(component, made->getMechanismName(), options.xml);
  playOn(*made, stopOnSignals);
  keepErrors(*made);
  if (!options.explain)
    return;
  QStringList drivers;
  for (const QString &driver : made->getMechanism().driver_names)
    drivers << nameOf(*made, driver);
  process::writeToStandardOutput(entries.takeExplanations(drivers).toStdString());
}

void Run::tellStarter(const ProofDirector &playing) {
  const std::lock_guard lock(partMutex);
  if (plan.part)
    plan.part->tell(playing.progress());
}

void Run::playOn(ProofDirector &playing, StopOnSignals &stopOnSignals) {
  stopOnSignals.setDirector(&playing);
  setDirector(&playing);
  {
    ProgressText text(playing);
    const StatusLine line([&text] { return text.now(); });
    if (options.replay)
      playing.replay();
    else
      playing.play();
  }
  stopOnSignals.setDirector(nullptr);
  setDirector(nullptr);
}

// What tools have done wrong is in the records; what is left are saves.
void Run::keepErrors(const ProofDirector &played) {
  for (const QString &message : played.errorMessages()) {
    if (message.startsWith("Cannot save POS file"_s) || message.startsWith("POS file "_s))
      failedSaves << message;
  }
  leastJobs = std::min(leastJobs, played.leastConcurrency());
}

void Run::setDirector(ProofDirector *now) {
  const std::lock_guard lock(runMutex);
  director = now;
}

void Run::tellOnly() {
  QString text;
  for (const QString &mechanism : options.mechanisms)
    text += dryRun(*directorFor(plan, component, mechanism), options, plan.directory);
  printOut(text.toUtf8());
}

void Run::report(const QStringList &lost) const {
  tellEach(entries.summary());
  tellEach(countedOnce(failedSaves));
  if (leastJobs < options.concurrency)
    complain("only %1 of %2 jobs could be started: the system has no more processes or threads."_s
                 .arg(leastJobs)
                 .arg(options.concurrency));
  if (entries.isOver())
    complain("stopped after %1; --stop-on-failure asks for it."_s.arg(
        counted(static_cast<int>(options.stopAfter), "failure")));
  if (!lost.isEmpty())
    complain(
        "%1 lost:"_s.arg(lost.size() == 1 ? "1 proof is"_s : "%1 proofs are"_s.arg(lost.size())));
  for (const QString &line : lost)
    complain("  "_s + line);
  if (plan.leftUnknown > 0 && !entries.isOver())
    complain("%1 left Unknown; `kelvarune-pos unprove --status unknown %2` or --retry lets %3 be "
             "tried again."_s.arg(plan.leftUnknown == 1 ? "1 goal was"_s
                                                        : "%1 goals were"_s.arg(plan.leftUnknown),
                                  options.posPath, plan.leftUnknown == 1 ? "it"_s : "them"_s));
  if (options.record && entries.ended() == 0)
    complain("no driver may improve these goals; without --record every driver plays them."_s);
  // Without any file there is nothing to keep.
  if (options.explain && !QDir().rmdir(plan.directory))
    complain("the secondary files are kept in %1"_s.arg(plan.directory));
}

int Run::status(const QStringList &lost) const {
  if (entries.hasFailures() || !failedSaves.isEmpty())
    return FAILED;
  const bool isBad =
      !lost.isEmpty() || entries.isOver() || (options.strict && !everyGoalIsProved(posPath));
  return isBad ? NOT_PROVED : COMPLETED;
}

std::string Run::lastWords(int status) {
  const std::lock_guard lock(runMutex);
  return currentRun ? currentRun->stoppedText(status) : std::string();
}

// Expects runMutex held, and the director stopped.
std::string Run::stoppedText(int status) {
  QString line = "stopped before the first entry"_s;
  const progress_t progress = director ? director->progress() : progress_t();
  if (progress.total > 0) {
    const QString driver = nameOf(*director, progress.driver);
    line = "stopped: %1 of %2 entries of %3 done"_s.arg(entries.ended(driver))
               .arg(progress.total)
               .arg(driver);
    if (plan.choice.record) // a further stop only tells how it went
      line += director->stop() ? ", all saved"_s : ", not all could be saved"_s;
  }
  std::string text;
  const QStringList lines = QStringList(line) + entries.summary() + recording.stop(status);
  for (const QString &each : lines)
    text += "kelvarune-play: " + shown(each).toStdString() + '\n';
  return text;
}
