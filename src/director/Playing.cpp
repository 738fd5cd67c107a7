// From driver to driver. Within a pass the entries are handed out one at a time, so that a slow one
// does not hold back the others; the next driver starts when all are done, because what it has to
// do depends on their results.

#include "director/ProofDirector.h"
#include "file/Descriptor.h"
#include "process/StopSignals.h"

#include <thread>

#include <poll.h>
#include <sys/eventfd.h>

using namespace kelvarune;

namespace {

/// Tells the thread that started the workers of the end of each, in a way that stop signals can
/// interrupt, which a plain join is not.
class EndOfWorkers {
public:
  EndOfWorkers() : event(::eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE)) {}

  void announce() const { ::eventfd_write(event.get(), 1); }

  void awaitOne() const {
    pollfd watched = {event.get(), POLLIN, 0};
    while (event.isOpen() &&
           ::ppoll(&watched, 1, nullptr, process::stop_signals::waitMask()) <= 0) {
    }
    eventfd_t count = 0;
    ::eventfd_read(event.get(), &count);
  }

private:
  file::Descriptor event;
};

} // namespace

std::string ProofDirector::tagged(const char *tag, const std::string &text) const {
  return xml ? '<' + std::string(tag) + '>' + text + "</" + tag + '>' : text;
}

void ProofDirector::replay() {
  traceLine("Start loading POS file.");
  if (!reloadPosFile()) {
    traceLine("Loading POS file failed.");
    process::writeToStandardOutput(tagged("error", "Error " + component + " .pos") + '\n');
    return;
  }
  traceLine("Loading POS file completed.");
  playDrivers();
}

void ProofDirector::play() {
  traceLine("Start loading POS file.");
  const bool changed = loadPosFile();
  traceLine("Loading POS file completed.");
  traceLine(changed ? "Registering mechanism in POS file."
                    : "Mechanism already registered in POS file.");
  if (changed) {
    prepareSaving();
    savePosFile();
  }
  playDrivers();
}

void ProofDirector::playDrivers() {
  for (std::size_t i = 0; i < mechanism.drivers.size(); ++i) {
    currentDriver = mechanism.drivers[i];
    const std::string name = currentDriver.name.toStdString();
    if (!driverFilter.isEmpty() && driverFilter != currentDriver.name)
      continue;
    if (markedDriversOnly && !currentDriver.fast)
      continue;
    traceLine("Playing ", i, "-th driver (", name, ")");
    process::writeToStandardOutput(tagged("proofPass", "\tProof driver " + name + ", still " +
                                                           std::to_string(unprovedCount) +
                                                           " unproved PO") +
                                   '\n');
    traceLine("Playing ", i, "-th driver (", name, ")"); // a second time (wanted)
    if (poFilter.isEmpty() && !hasWork()) {
      traceLine("Driver cannot improve proof status.");
      continue;
    }
    playCurrentDriver();
  }
}

void ProofDirector::playCurrentDriver() {
  traceLine("Driver has proof obligations to process.");
  selection_t selection;
  selectForDriver(selection);
  traceLine("Driver producing writer data");
  produceWriterData(dir, pog, selection);
  traceLine("Driver producing prover data");
  produceProverData();
  nextOperation = 0;
  startProgress();
  prepareSaving();
  if (concurrency == 1)
    runEntries();
  else
    runWorkers();
  process::writeToStandardOutput("\n");
  if (nextOperation != 0)
    process::writeToStandardOutput(xml ? "</operation>\n" : "\n");
  removeSecondaryFiles();
}

void ProofDirector::runEntries() {
  for (unsigned long i = 0; i < writerData.size(); ++i) {
    writeEntry(i);
    proveEntry(i);
  }
}

void ProofDirector::runWorkers() {
  nextIndex = 0;
  const EndOfWorkers ends;
  std::vector<std::thread> workers;
  {
    const process::stop_signals::AllBlocked blocked; // workers never run a handler
    for (std::uint32_t i = 0; i < concurrency; ++i)
      workers.emplace_back([this, &ends] {
        writeAndProveJob();
        ends.announce();
      });
  }
  for (std::size_t i = 0; i < workers.size(); ++i)
    ends.awaitOne();
  for (std::thread &worker : workers)
    worker.join();
}

void ProofDirector::startProgress() {
  const std::lock_guard lock(progressMutex);
  currentProgress = progress_t();
  currentProgress.driver = currentDriver.name;
  currentProgress.total = writerData.size();
}

void ProofDirector::countProgress(unsigned long progress_t::*counter) {
  const std::lock_guard lock(progressMutex);
  ++(currentProgress.*counter);
}
