// From driver to driver. Within a pass the entries are handed out one at a time, so that a slow one
// does not hold back the others; the next driver starts when all are done, because what it has to
// do depends on their results.

#include "director/DirectorParts.h"
#include "director/ProofDirector.h"
#include "process/SignalMask.h"

#include <algorithm>
#include <system_error>
#include <thread>

using namespace kelvarune;

namespace {

std::string tagged(bool xml, const char *tag, const std::string &text) {
  return xml ? '<' + std::string(tag) + '>' + text + "</" + tag + '>' : text;
}

} // namespace

void ProofDirector::replay() {
  parts->traces.line("Start loading POS file.");
  if (!reloadPosFile()) {
    parts->traces.line("Loading POS file failed.");
    process::writeToStandardOutput(tagged(xml, "error", "Error " + component + " .pos") + '\n');
    return;
  }
  parts->traces.line("Loading POS file completed.");
  playDrivers();
}

void ProofDirector::play() {
  if (parts->posFile.hasBeenLoaded()) {
    addError("Error " + component + " .pos", tr("The POS file has been loaded before."));
    return;
  }
  parts->traces.line("Start loading POS file.");
  const bool changed = loadPosFile();
  parts->traces.line("Loading POS file completed.");
  parts->traces.line(changed ? "Registering mechanism in POS file."
                             : "Mechanism already registered in POS file.");
  if (changed && parts->choice.record && !parts->tools.areClosed())
    savePosFile();
  playDrivers();
}

void ProofDirector::playDrivers() {
  for (std::size_t i = 0; i < mechanism.drivers.size() && !parts->tools.areClosed(); ++i) {
    currentDriver = mechanism.drivers[i];
    const std::string name = currentDriver.name.toStdString();
    if (!driverFilter.isEmpty() && driverFilter != currentDriver.name)
      continue;
    if (markedDriversOnly && !currentDriver.fast)
      continue;
    parts->traces.line("Playing ", i, "-th driver (", name, ")");
    process::writeToStandardOutput(tagged(xml, "proofPass",
                                          "\tProof driver " + name + ", still " +
                                              std::to_string(unprovedCount) + " unproved PO") +
                                   '\n');
    parts->traces.line("Playing ", i, "-th driver (", name, ")"); // a second time (wanted)
    if (!isDesignated() && !hasWork()) {
      parts->traces.line("Driver cannot improve proof status.");
      continue;
    }
    playCurrentDriver();
  }
}

void ProofDirector::playCurrentDriver() {
  parts->traces.line("Driver has proof obligations to process.");
  selection_t selection;
  selectForDriver(selection);
  parts->traces.line("Driver producing writer data");
  produceWriterData(dir, pog, selection);
  parts->traces.line("Driver producing prover data");
  produceProverData();
  parts->results.startPass();
  parts->progress.startPass(currentDriver.name, writerData.size());
  parts->observers.startPass(writerData.size());
  parts->posFile.prepare(resultMutex);
  if (concurrency == 1)
    runEntries();
  else
    runWorkers();
  if (!parts->tools.areClosed())
    parts->results.endPass();
  removeSecondaryFiles();
}

void ProofDirector::runEntries() {
  for (unsigned long i = 0; i < writerData.size(); ++i) {
    writeEntry(i);
    proveEntry(i);
  }
}

// Where the system has no room for so many threads the work is done by those there are.
void ProofDirector::runWorkers() {
  nextIndex = 0;
  std::vector<std::thread> workers;
  bool alone = false;
  {
    const process::AllSignalsBlocked blocked; // workers never run a handler of the program
    const std::size_t wanted = std::min<std::size_t>(concurrency, writerData.size());
    for (std::size_t i = 0; i < wanted && !alone; ++i) {
      parts->crew.join();
      try {
        workers.emplace_back([this] { writeAndProveJob(); });
      } catch (const std::system_error &) {
        alone = !parts->crew.takeBack();
        break;
      }
    }
  }
  if (alone)
    writeAndProveJob();
  for (std::thread &worker : workers)
    worker.join();
}
