// One entry is a chain: the prover's output goes straight into the reader, and the reader's output
// is read while the tools run, so that however much a tool writes none of them blocks. The verdicts
// count only when both have ended and there is exactly one for each goal.
//
// A tool that cannot be started counts as one that wrote nothing; what follows from that shows in
// the verdicts.

#include "director/DirectorParts.h"
#include "director/ProofDirector.h"
#include "director/ReaderOutput.h"
#include "director/ToolWatch.h"
#include "file/Io.h"
#include "process/PipeReader.h"
#include "process/Relay.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

using mechanism::input_t;

namespace {

constexpr std::size_t KEPT_OF_OUTPUT = 4096;
constexpr std::size_t READ_WITHOUT_READER = std::size_t(1) << 20;
constexpr int GRACE_OF_CHILDREN_MS = 10000;
constexpr int RAREST_LOOK_MS = 60000;

// The POS value that a whole line of a reader stands for.
std::optional<QString> verdictOf(std::string_view line) {
  if (line == "Proved")
    return pos::ATTR_VALUE_PROVED;
  if (line == "Unknown")
    return pos::ATTR_VALUE_UNKNOWN;
  if (line == "Disproved")
    return pos::ATTR_VALUE_DISPROVED;
  return std::nullopt;
}

bool isLackOfRoom(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

file::Descriptor openWithoutWaiting(const QString &path) {
  return file::openFile(path.toStdString(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
}

ino_t inodeOf(const file::Descriptor &descriptor) {
  struct stat status = {};
  return ::fstat(descriptor.get(), &status) == 0 ? status.st_ino : 0;
}

// The prover has ended, so the reader gets the end of file and ends too, unless something that the
// prover started holds their pipe open. That may be the one that does the work, so it has a while
// to end; more of it would let one that never ends hold the run up.
void awaitReader(process::ToolProcess &reader, const std::vector<process::WatchedPipe *> &pipes,
                 ino_t chainPipe) {
  for (int limitMs = GRACE_OF_CHILDREN_MS; !reader.waitForEnd(pipes, limitMs);
       limitMs = std::min(2 * limitMs, RAREST_LOOK_MS))
    process::sessions::endPipeWriters(chainPipe);
}

} // namespace

void ProofDirector::proveEntry(const unsigned long &index) {
  const prover_data_t &entry = proverData.at(index);
  if (parts->tools.areClosed())
    return;
  ReaderOutput output;
  entry_record_t *const record = describeEntry(index);
  const loss_t loss =
      parts->crew.hasGivenUp(index) ? loss_t::NO_ROOM : runChain(entry, output, record);
  parts->progress.count(&progress_t::finished);
  if (parts->tools.areClosed())
    return;
  if (record)
    addOutcome(*record, loss, output);
  if (loss == loss_t::NONE)
    conclude(entry, output);
  parts->observers.conclude(index);
}

// Records what the reader said, if it is one line for each goal.
void ProofDirector::conclude(const prover_data_t &entry, const ReaderOutput &output) {
  parts->traces.line("processing command output ", output.text());
  if (!isDesignated() && output.lineCount() != entry.addresses.size()) {
    addError("Unexpected number of results. Expected: " + std::to_string(entry.addresses.size()) +
                 " Found: " + std::to_string(output.lineCount()),
             tr("Unexpected number of results from driver %1 reader.").arg(currentDriver.name));
    return;
  }
  const bool changed = publish(entry, output);
  parts->results.print();
  if (changed && parts->choice.record) {
    parts->traces.line("Saving new DOM in POS file ", pos.toStdString());
    savePosFile();
  }
}

entry_record_t *ProofDirector::describeEntry(unsigned long index) const {
  entry_record_t *const record = parts->observers.record(index);
  if (!record || !record->driver.isNull())
    return record;
  record->mechanism = QString::fromStdString(mechanism.name);
  record->driver = currentDriver.name;
  record->input = currentDriver.prover.input;
  record->secondaryFile = proverData.at(index).inpath;
  record->addresses = proverData.at(index).addresses;
  for (const address_t &address : record->addresses)
    record->goals.push_back({QString::fromStdString(poData.at(address.first).first),
                             static_cast<int>(address.second) + 1});
  return record;
}

void ProofDirector::addOutcome(entry_record_t &record, loss_t loss,
                               const ReaderOutput &output) const {
  record.resultCount = output.lineCount();
  record.loss = loss;
  if (loss == loss_t::NONE && !isDesignated() && output.lineCount() != record.addresses.size())
    record.loss = loss_t::RESULT_COUNT;
  if (record.loss != loss_t::NONE)
    return;
  LineCursor lines(output.text());
  for (std::size_t i = 0; i < record.addresses.size(); ++i)
    record.verdicts << verdictOf(lines.next()).value_or(QString());
}

// A secondary file for a prover's standard input. Nobody waits here for the writer of a FIFO.
file::Descriptor ProofDirector::openInput(const QString &path) const {
  const auto since = std::chrono::steady_clock::now();
  file::Descriptor input = openWithoutWaiting(path);
  while (!input.isOpen() && isLackOfRoom(errno) && waitForRoom(since))
    input = openWithoutWaiting(path);
  if (input.isOpen())
    ::fcntl(input.get(), F_SETFL, 0);
  return input;
}

loss_t ProofDirector::runChain(const prover_data_t &entry, ReaderOutput &output,
                               entry_record_t *record) {
  file::pipe_t chain = makePipe();
  file::pipe_t results = makePipe();
  const ino_t chainPipe = inodeOf(chain.readEnd);
  parts->traces.line("Issuing proving command ", entry.cmdp.native(), " ",
                     entry.argsp.join(QLatin1Char(' ')).toStdString(), "\n and reading command ",
                     entry.cmdr.native(), " ", entry.argsr.join(QLatin1Char(' ')).toStdString());

  RunningTool prover(parts->tools, RunningTool::kind_t::KILLED_BY_STOP);
  RunningTool reader(parts->tools, RunningTool::kind_t::KILLED_BY_STOP);
  ToolWatch proverWatch(record ? &record->prover : nullptr);
  ToolWatch readerWatch(record ? &record->reader : nullptr);
  const bool fromFile = currentDriver.prover.input == input_t::STDIN;
  file::pipe_t silence = fromFile ? file::pipe_t() : makePipe(); // stays open and empty
  const file::Descriptor input = fromFile ? openInput(entry.inpath) : std::move(silence.readEnd);
  const bool hasInput = input.isOpen() || (fromFile && !isLackOfRoom(errno));
  if (!chain.readEnd.isOpen() || !results.readEnd.isOpen() || !hasInput)
    return addNoRoom();
  if (input.isOpen())
    startTool(proverWatch, prover, entry.cmdp, entry.argsp, input.get(), chain.writeEnd.get());
  if (prover->lacksRoom())
    return addNoRoom();
  chain.writeEnd.reset();

  std::optional<process::Relay> relay;
  const auto takeInput = [record](const char *bytes, std::size_t size) {
    if (record)
      record->proverOutput.append(bytes, size);
  };
  if (record && parts->observers.wantProverOutput()) {
    record->proverOutput = process::Excerpt(KEPT_OF_OUTPUT, KEPT_OF_OUTPUT);
    file::pipe_t second = makePipe();
    if (!second.readEnd.isOpen())
      return addNoRoom();
    relay.emplace(std::move(chain.readEnd), std::move(second.writeEnd), takeInput);
    chain.readEnd = std::move(second.readEnd);
  }
  const auto takeResults = [&output, record](const char *bytes, std::size_t size) {
    output.append(bytes, size);
    if (record)
      record->readerOutput.append(bytes, size);
  };
  if (record)
    record->readerOutput = process::Excerpt(KEPT_OF_OUTPUT, KEPT_OF_OUTPUT);
  const bool reading = startTool(readerWatch, reader, entry.cmdr, entry.argsr, chain.readEnd.get(),
                                 results.writeEnd.get());
  if (reader->lacksRoom())
    return addNoRoom();
  results.writeEnd.reset();

  // Without a reader its part is taken here for a while, so that a prover does not die of a broken
  // pipe for what it usually writes, but one that writes without end does.
  const auto takeNothing = [](const char *, std::size_t) {};
  process::PipeReader pipe =
      reading ? process::PipeReader(std::move(results.readEnd), takeResults)
              : process::PipeReader(std::move(chain.readEnd), takeNothing, READ_WITHOUT_READER);
  chain.readEnd.reset();

  process::Relay *const carrier = relay ? &*relay : nullptr;
  prover->waitForEnd({&pipe, carrier, proverWatch.errors(), readerWatch.errors()});
  prover.unregister();
  proverWatch.end(*prover);
  if (prover->crashed()) {
    addCrash("Driver prover crashed.", tr("Driver %1 prover crashed."));
    return loss_t::CRASH;
  }
  awaitReader(*reader, {&pipe, carrier, readerWatch.errors()}, chainPipe);
  pipe.readRest();
  reader.unregister();
  readerWatch.end(*reader);
  if (reader->crashed())
    addCrash("Driver reader crashed.", tr("Driver %1 reader crashed."));
  return reader->crashed() ? loss_t::CRASH : loss_t::NONE;
}

// The reader must not answer for a prover that nobody hears: the goal stays as it is.
loss_t ProofDirector::addNoRoom() {
  if (!parts->tools.areClosed())
    addError("No room to run driver " + currentDriver.name.toStdString() + ".",
             tr("The system has no room to run the tools of driver %1.").arg(currentDriver.name));
  return loss_t::NO_ROOM;
}

void ProofDirector::addCrash(const std::string &line, const QString &message) {
  if (!parts->tools.areClosed()) // else it was killed on purpose
    addError(line, message.arg(currentDriver.name));
}

// Updates the document and adds the marks to the results, which are written after the lock is given
// back: whoever does not read the program's output must not hold up a stop.
bool ProofDirector::publish(const prover_data_t &entry, const ReaderOutput &output) {
  bool changed = false;
  std::string updates; // traces
  {
    const std::lock_guard lock(resultMutex);
    if (parts->tools.areClosed()) // the last document is being saved or has been
      return false;
    LineCursor lines(output.text());
    for (const address_t &address : entry.addresses) {
      parts->results.openOperations(address.first, poData);
      const std::optional<QString> verdict = verdictOf(lines.next());
      if (verdict)
        updates += publishVerdict(address, *verdict, lines);
      else
        parts->results.addNoVerdict();
      changed = changed || verdict;
    }
  }
  process::writeToStandardError(updates);
  return changed;
}

// Returns the trace.
std::string ProofDirector::publishVerdict(const address_t &address, const QString &verdict,
                                          LineCursor &lines) {
  std::string update = parts->traces.text(
      "updating proof status of proof obligation ", address.first, ",", address.second, " to ",
      verdict.toStdString(), " for driver ", currentDriver.name.toStdString());
  if (!isDesignated())
    updateStatus(address, verdict);
  if (verdict == pos::ATTR_VALUE_PROVED)
    parts->progress.count(&progress_t::proved);
  parts->results.addMark(poData.at(address.first).second.at(address.second).status);
  if (isDesignated())
    parts->results.addModel(lines);
  return update;
}

void ProofDirector::proveJob() {
  unsigned long index = 0;
  while (claimEntry(job_t::PROVING, index))
    proveEntry(index);
}

void ProofDirector::writeAndProveJob() {
  unsigned long index = 0;
  while (claimEntry(job_t::WRITING, index) || parts->crew.takeOver(index)) {
    if (!runEntry(index))
      return;
  }
}

// False when the worker has left and given the entry back.
bool ProofDirector::runEntry(unsigned long index) {
  while (true) {
    try {
      writeEntry(index);
      traceProving(index);
      proveEntry(index);
      return true;
    } catch (const no_room_t &) {
      parts->observers.drop(index);
      parts->progress.takeBack(&progress_t::started);
      if (parts->crew.leave(index))
        return false;
    }
  }
}

void ProofDirector::traceProving(unsigned long index) const {
  const prover_data_t &entry = proverData.at(index);
  parts->traces.workerLine("Thread ", ::gettid(), " proves entry (", entry.cmdp.native(), ", ",
                           entry.inpath.toStdString(), ").");
}
