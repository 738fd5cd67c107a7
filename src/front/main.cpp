// One run from the command line: options, then each mechanism in turn, then the report. Exceptions
// (unknown statuses, unusable installation directories) are caught nowhere and end the run.
//
// A SIGTERM is let in only where the run waits for tools or has nothing to lose; see
// process::stop_signals. There the handler may save and clean up like any other code.

#include "director/ProofDirector.h"
#include "front/Options.h"
#include "front/Report.h"
#include "front/Utils.h"
#include "pos/pos.h"
#include "process/Guardian.h"
#include "process/StandardStreams.h"
#include "process/StopSignals.h"
#include "resource/ResourceManager.h"

#include <QHash>

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>
#include <signal.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

/// The director being replayed, for the termination handler; null when there is none.
ProofDirector *director = nullptr;

void sighandler(int) {
  if (director)
    director->stopAndCleanUp();
  ::_exit(EXIT_FAILURE); // workers may be running still: no destructor is safe
}

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
                     const std::string &mechanismFile) {
  director = new ProofDirector(component, mechanismFile, options.posPath, options.pogPath,
                               options.directory, options.installDirs, options.xml,
                               static_cast<unsigned int>(options.concurrency), options.trace, "",
                               "", false);
  if (!director->isLoaded())
    return false;
  {
    const process::stop_signals::Open open; // nothing is loaded yet
    print_proving(component, director->getMechanismName(), options.xml);
  }
  director->replay();
  const ProofDirector *finished = std::exchange(director, nullptr);
  delete finished;
  return true;
}

std::vector<std::string> mechanismFiles(const options_t &options) {
  if (!options.mechanismFile.empty())
    return {options.mechanismFile};
  const process::stop_signals::Open open;
  std::vector<std::string> names;
  if (!pos::getMechanisms(options.posPath, names))
    std::cout << (options.xml ? "<error>" : "Error") << "File not readable " << options.posPath
              << (options.xml ? "</error>" : "") << std::endl;
  for (std::string &name : names)
    name = options.mechanismDirectory + FILE_SEPARATOR + name + ".xml";
  return names;
}

// The allocator sets small chunks aside when they are freed and merges them all when it next needs
// room: half a second after the document of 50,000 goals is gone. Merged at once they cost little.
void mergeFreedMemoryAtOnce() {
  ::mallopt(M_MXFAST, 0);
}

} // namespace

int main(int argc, char **argv) {
  process::setUpProgram();
  mergeFreedMemoryAtOnce();
  process::stop_signals::letInAtWaits({SIGTERM});
  ::signal(SIGTERM, sighandler);
  qSetGlobalQHashSeed(0); // the same document is always written with its attributes in one order
  init_resource_manager();

  options_t options;
  if (!parseOptions(argc, argv, options))
    return print_help();
  if (options.trace != 0)
    echoCommand(argc, argv);
  if (!isUsable(options))
    return print_help();

  const process::Guardian guardian;
  const std::string component = baseNameOfPath(options.posPath);
  if (options.xml)
    std::cout << "<proof>" << std::endl;
  for (const std::string &file : mechanismFiles(options)) {
    if (!replayMechanism(options, component, file))
      return EXIT_FAILURE;
  }
  const process::stop_signals::Open open;
  print_metrics(options.posPath, options.xml, component);
  return EXIT_SUCCESS;
}
