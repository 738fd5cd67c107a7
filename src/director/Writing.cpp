// Secondary proof obligation files. A writer that fails stops nothing: the failure is recorded and
// the prover of the same entry still runs, on whatever is there.

#include "director/DirectorParts.h"
#include "director/ProofDirector.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

bool exists(const QString &path) {
  struct stat status;
  return ::stat(path.toUtf8().constData(), &status) == 0;
}

} // namespace

void ProofDirector::writeEntry(const unsigned long &index) {
  const writer_data_t &entry = writerData.at(index);
  if (parts->tools.areClosed())
    return;
  parts->progress.count(&progress_t::started);
  parts->traces.line("Issuing writing command ", entry.cmd.native(), " ",
                     entry.args.join(QLatin1Char(' ')).toStdString());
  parts->traces.line("to generate ", entry.po2filename.toStdString());

  RunningTool writer(parts->tools, RunningTool::kind_t::LEFT_BY_STOP);
  const file::pipe_t input = file::makePipe(); // stays open and empty
  const bool started = writer.start(entry.cmd, entry.args, input.readEnd.get(), -1);
  if (started)
    writer->waitForEnd();
  if (parts->tools.areClosed())
    return;
  if (!started) {
    addError("-- ProofDirector -- Writer had an error.",
             tr("Error starting secondary proof obligation generation for driver %1.")
                 .arg(currentDriver.name));
    return;
  }
  if (writer->crashed()) {
    addError(
        "-- ProofDirector -- Writer crashed.",
        tr("Secondary proof obligation generation for driver %1 crashed.").arg(currentDriver.name));
    return;
  }
  if (!exists(entry.po2filename))
    addError("-- ProofDirector -- Secondary po " + entry.po2filename.toStdString() + " not found.",
             tr("Secondary proof obligation for driver %1 not found in file %2.")
                 .arg(currentDriver.name, entry.po2filename));
}

// The end is tested for equality: indexes are only ever claimed here, one by one.
bool ProofDirector::claimEntry(job_t first, unsigned long &index) {
  const std::lock_guard lock(jobMutex);
  const bool writing = first == job_t::WRITING;
  if (nextIndex == (writing ? writerData.size() : proverData.size()))
    return false;
  index = nextIndex++;
  if (writing)
    parts->traces.workerLine("Thread ", ::gettid(), " writes entry ", index, ".");
  else
    traceProving(index);
  return true;
}

void ProofDirector::writeJob() {
  unsigned long index = 0;
  while (claimEntry(job_t::WRITING, index))
    writeEntry(index);
}

void ProofDirector::removeSecondaryFiles() const {
  parts->secondaryFiles.remove();
}
