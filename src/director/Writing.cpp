// Secondary proof obligation files. A writer that fails stops nothing: the failure is recorded and
// the prover of the same entry still runs, on whatever is there.

#include "director/DirectorParts.h"
#include "director/ProofDirector.h"
#include "director/ToolWatch.h"

#include <chrono>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

constexpr std::chrono::seconds PATIENCE_OF_LAST(1);
constexpr std::chrono::milliseconds ROOM_INTERVAL(10);

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

  entry_record_t *const record = describeEntry(index);
  RunningTool writer(parts->tools, RunningTool::kind_t::LEFT_BY_STOP);
  ToolWatch watch(record ? &record->writer : nullptr);
  const file::pipe_t input = makePipe(); // stays open and empty
  const bool started = startTool(watch, writer, entry.cmd, entry.args, input.readEnd.get(), -1);
  if (started)
    writer->waitForEnd({watch.errors()});
  watch.end(*writer);
  if (parts->tools.areClosed())
    return;
  if (record)
    record->secondaryFileWritten = exists(entry.po2filename);
  if (!started && writer->lacksRoom()) {
    addNoRoom();
    parts->crew.giveUp(index);
    return;
  }
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

// Whether to try again to get what the system has no room for, such as another process. A worker
// leaves instead when there are others, so that those who stay have more; the last one waits until
// they are out.
bool ProofDirector::waitForRoom(std::chrono::steady_clock::time_point since) const {
  if (parts->tools.areClosed())
    return false;
  if (parts->crew.mayLeave())
    throw no_room_t();
  if (!parts->crew.isLastOfMany() || std::chrono::steady_clock::now() - since >= PATIENCE_OF_LAST)
    return false;
  std::this_thread::sleep_for(ROOM_INTERVAL);
  return true;
}

file::pipe_t ProofDirector::makePipe() const {
  const auto since = std::chrono::steady_clock::now();
  file::pipe_t pipe = file::makePipe();
  while (!pipe.readEnd.isOpen() && waitForRoom(since))
    pipe = file::makePipe();
  return pipe;
}

bool ProofDirector::startTool(ToolWatch &watch, RunningTool &tool,
                              const std::filesystem::path &program, const QStringList &arguments,
                              int standardInput, int standardOutput) const {
  const auto since = std::chrono::steady_clock::now();
  while (!watch.start(tool, program, arguments, standardInput, standardOutput)) {
    if (!tool->lacksRoom() || !waitForRoom(since))
      return false;
  }
  return true;
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
