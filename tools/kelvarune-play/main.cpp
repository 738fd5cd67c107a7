// kelvarune-play: first proofs. It registers mechanisms in a POS file and plays their drivers,
// where kelvarune only replays what is registered. The director does the work and writes the
// output; this program checks the inputs first and gives the outcome by its exit status.

#include "Checks.h"
#include "Options.h"
#include "StatusLine.h"
#include "director/ProofDirector.h"
#include "director/StopOnSignals.h"
#include "front/Report.h"
#include "front/Utils.h"
#include "pos/pos.h"
#include "process/Guardian.h"
#include "process/StandardStreams.h"
#include "process/StartUp.h"
#include "resource/ResourceManager.h"
#include "text/Literals.h"

#include <QCoreApplication>

#include <iostream>
#include <map>
#include <memory>

#include <signal.h>

using namespace kelvarune;

namespace {

enum exit_status_t {
  EXIT_COMPLETED = 0,
  EXIT_NOT_PROVED = 1,
  EXIT_UNUSABLE = 2,
  EXIT_TOOL_FAILED = 3,
  EXIT_SIGNALLED = 128
};

/// The signals that end a run: all that ask for it, but for a hang-up that the caller ignores, as
/// nohup does.
std::vector<int> stopSignals() {
  struct sigaction hangUp = {};
  ::sigaction(SIGHUP, nullptr, &hangUp);
  return hangUp.sa_handler == SIG_IGN ? std::vector<int>{SIGINT, SIGTERM}
                                      : std::vector<int>{SIGINT, SIGTERM, SIGHUP};
}

int endSignalled(int number) {
  StatusLine::endAll();
  return EXIT_SIGNALLED + number;
}

void tell(const QStringList &lines) {
  for (const QString &line : lines)
    std::cerr << "kelvarune-play: " << line.toStdString() << std::endl;
}

/// Reads the command line and checks the inputs. False after telling what cannot be used.
bool getReady(play_options_t &options) {
  if (!parseOptions(QCoreApplication::arguments(), options))
    return false;
  init_resource_manager();
  QStringList faults = faultsOfFiles(options);
  if (faults.isEmpty()) {
    for (const QString &file : std::as_const(options.resources)) {
      load_resources(file.toUtf8().constData());
      if (has_unfinished_line(file.toUtf8().constData()))
        tell({file + ": the last line is not read; end it with a line break."_s});
    }
    faults = faultsOfContents(options);
  }
  tell(faults);
  if (faults.isEmpty())
    tell(misdirectedDrivers(options));
  return faults.isEmpty();
}

/// Plays one mechanism and adds its failures to `errors`.
void play(const play_options_t &options, const std::string &component, const QString &mechanism,
          StopOnSignals &stopOnSignals, QStringList &errors) {
  const std::unique_ptr<ProofDirector> director(
      new ProofDirector(component, mechanism.toStdString(), options.posPath.toStdString(),
                        options.pogPath.toStdString(), options.directory.toStdString(),
                        options.installDirs, options.xml, options.concurrency, options.trace,
                        options.driver.toStdString(), options.goal.toStdString(), options.fast));
  print_proving(component, director->getMechanismName(), options.xml);
  stopOnSignals.setDirector(director.get());
  {
    const StatusLine line(*director);
    director->play();
  }
  stopOnSignals.setDirector(nullptr);
  errors += director->errorMessages();
}

void listErrors(const QStringList &errors) {
  std::map<QString, int> counts;
  for (const QString &error : errors)
    ++counts[error];
  for (const auto &[error, count] : counts)
    std::cerr << "kelvarune-play: " << error.toStdString() << " (" << count
              << (count == 1 ? " time)" : " times)") << std::endl;
}

bool everyGoalIsProved(const std::string &posPath) {
  pos::metrics_t metrics;
  return pos::getMetrics(posPath, metrics) && metrics.proved == metrics.total;
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  const process::Guardian guardian;
  StopOnSignals stopOnSignals(stopSignals(), endSignalled);
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("kelvarune-play"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  play_options_t options;
  if (!getReady(options))
    return EXIT_UNUSABLE;

  const std::string posPath = options.posPath.toStdString();
  const std::string component = baseNameOfPath(posPath);
  if (options.xml)
    process::writeToStandardOutput("<proof>\n");
  QStringList errors;
  for (const QString &mechanism : std::as_const(options.mechanisms))
    play(options, component, mechanism, stopOnSignals, errors);
  print_metrics(posPath, options.xml, component);
  listErrors(errors);
  if (!errors.isEmpty())
    return EXIT_TOOL_FAILED;
  return options.strict && !everyGoalIsProved(posPath) ? EXIT_NOT_PROVED : EXIT_COMPLETED;
}
