// Plays one mechanism from inside a program and shows what it learns on the way: how far the run
// has come, which tools failed, and what became of each goal.
//
// The director is played on a thread of its own, as a program with a window would do it, while the
// main thread looks at the progress every now and then. The director prints its marks on standard
// output, so this program reports on standard error.

#include "director/ProofDirector.h"
#include "director/StopOnSignals.h"
#include "process/Guardian.h"
#include "process/StartUp.h"
#include "resource/ResourceManager.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>

#include <signal.h>

using namespace kelvarune;

namespace {

std::vector<std::string> byteStrings(const QStringList &words) {
  std::vector<std::string> result;
  for (const QString &word : words)
    result.push_back(word.toStdString());
  return result;
}

void showProgress(const ProofDirector &director) {
  const progress_t now = director.progress();
  if (now.total > 0)
    std::cerr << "embed: driver " << now.driver.toStdString() << ": " << now.finished << " of "
              << now.total << " runs, " << now.proved << " proofs" << std::endl;
}

void showOutcome(const ProofDirector &director) {
  for (const QString &message : director.errorMessages())
    std::cerr << "embed: failure: " << message.toStdString() << std::endl;
  for (const auto &[tag, goals] : director.getPoData()) {
    std::cerr << "embed: " << tag << ":";
    for (const po_data_t &goal : goals)
      std::cerr << " " << goal.status;
    std::cerr << std::endl;
  }
  std::cerr << "embed: " << director.getUnprovedCount() << " goals unproved" << std::endl;
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  // Both before the first thread: no prover outlives this program, and a signal ends it in order.
  const process::Guardian guardian;
  StopOnSignals stopOnSignals({SIGINT, SIGTERM}, [](int number) { return 128 + number; });
  const QCoreApplication application(argc, argv);
  QCommandLineParser parser;
  parser.addHelpOption();
  const QCommandLineOption installDirs(QStringLiteral("i"), QStringLiteral("Tools directory."),
                                       QStringLiteral("dir"));
  const QCommandLineOption jobs(QStringLiteral("c"), QStringLiteral("Runs at a time."),
                                QStringLiteral("jobs"), QStringLiteral("2"));
  parser.addOptions({installDirs, jobs});
  const char *const names[] = {"mechanism", "pos", "pog", "workdir"};
  for (const char *const name : names)
    parser.addPositionalArgument(QString::fromLatin1(name), QString());
  parser.process(application);
  const std::vector<std::string> files = byteStrings(parser.positionalArguments());
  if (files.size() != std::size(names))
    parser.showHelp(EXIT_FAILURE);

  init_resource_manager(); // once, before the first director
  const std::string component = "embedded";
  const auto director = std::make_unique<ProofDirector>(
      component, files[0], files[1], files[2], files[3], byteStrings(parser.values(installDirs)),
      false, std::max(1U, parser.value(jobs).toUInt()), 0, "", "", false);
  if (!director->isLoaded())
    return EXIT_FAILURE; // the reason stands on standard error already

  stopOnSignals.setDirector(director.get());
  const auto played = std::async(std::launch::async, [&] { director->play(); });
  while (played.wait_for(std::chrono::milliseconds(500)) != std::future_status::ready)
    showProgress(*director);
  stopOnSignals.setDirector(nullptr);
  showOutcome(*director);
  return director->hasErrors() ? EXIT_FAILURE : EXIT_SUCCESS;
}
