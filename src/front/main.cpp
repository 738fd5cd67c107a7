// One run from the command line: options, then each mechanism in turn, then the report. Exceptions
// (unknown statuses, unusable installation directories) are caught nowhere and end the run.

#include "director/ProofDirector.h"
#include "director/StopOnSignals.h"
#include "front/Options.h"
#include "front/Report.h"
#include "front/Utils.h"
#include "front/Waiting.h"
#include "pos/pos.h"
#include "process/Guardian.h"
#include "process/StandardStreams.h"
#include "process/StartUp.h"
#include "resource/ResourceManager.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <signal.h>

using namespace kelvarune;

namespace {

/// The director that is being replayed. One whose mechanism does not load stays until the end.
ProofDirector *director = nullptr;

int print_help() {
  printHelpText();
  return EXIT_FAILURE;
}

void echoCommand(int argc, char **argv) {
  std::clog << "[kelvarune]" << std::endl << "command = \"";
  for (int i = 0; i < argc; ++i)
    std::clog << argv[i] << ' ';
  std::clog << '"' << std::endl;
}

bool replayMechanism(const options_t &options, const std::string &component,
                     const std::string &mechanismFile, StopOnSignals &stopOnSignals) {
  director = new ProofDirector(component, mechanismFile, options.posPath, options.pogPath,
                               options.directory, options.installDirs, options.xml,
                               static_cast<unsigned int>(options.concurrency), options.trace, "",
                               "", false);
  if (!director->isLoaded())
    return false;
  const auto locks =
      waitForSecondaryFiles(options.directory, options.pogPath, director->getMechanism());
  print_proving(component, director->getMechanismName(), options.xml);
  stopOnSignals.setDirector(director);
  director->replay();
  stopOnSignals.setDirector(nullptr);
  delete std::exchange(director, nullptr);
  return true;
}

std::vector<std::string> mechanismFiles(const options_t &options) {
  if (!options.mechanismFile.empty())
    return {options.mechanismFile};
  std::vector<std::string> names;
  if (!pos::getMechanisms(options.posPath, names))
    print_not_readable(options.posPath, options.xml);
  for (std::string &name : names)
    name = options.mechanismDirectory + FILE_SEPARATOR + name + ".xml";
  return names;
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  const process::Guardian guardian;
  StopOnSignals stopOnSignals({SIGTERM}, [](int) {
    file::RunLock::releaseAll();
    return EXIT_FAILURE;
  });
  init_resource_manager();

  options_t options;
  if (!parseOptions(argc, argv, options))
    return print_help();
  if (options.trace != 0)
    echoCommand(argc, argv);
  if (!isUsable(options))
    return print_help();

  const file::RunLock lock = waitForFile(options.posPath);
  const std::string component = baseNameOfPath(options.posPath);
  if (options.xml)
    process::writeToStandardOutput("<proof>\n");
  for (const std::string &file : mechanismFiles(options)) {
    if (!replayMechanism(options, component, file, stopOnSignals))
      return EXIT_FAILURE;
  }
  print_metrics(options.posPath, options.xml, component);
  return EXIT_SUCCESS;
}
