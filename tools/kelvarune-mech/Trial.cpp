// Runs each tool of a driver with the arguments that the director would give it. Standard error
// goes into files, so that no tool waits for somebody to read it; the reader's output is read when
// the reader has ended.

#include "Trial.h"

#include "director/Arguments.h"
#include "file/Io.h"
#include "process/PipeReader.h"
#include "process/Sessions.h"
#include "process/ToolProcess.h"
#include "text/Literals.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <atomic>

#include <signal.h>

using namespace kelvarune;

namespace {

constexpr int EXIT_SIGNALLED = 128;
constexpr qint64 KEPT_OF_STANDARD_ERROR = 4096;
constexpr int SHOWN_OF_A_LINE = 200;

std::atomic<bool> isStopping = false;

QStringList linesOf(const QByteArray &text) {
  QStringList lines;
  for (const QByteArray &line : text.split('\n'))
    lines << QString::fromUtf8(line).simplified().left(SHOWN_OF_A_LINE);
  lines.removeAll(QString());
  return lines;
}

// Some tools say first what is wrong, others say it last, and only those two lines are of use.
QString complaintIn(const QString &path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return {};
  const QStringList first = linesOf(file.read(KEPT_OF_STANDARD_ERROR));
  if (first.size() < 2)
    return first.join(QString());
  file.seek(std::max<qint64>(0, file.size() - KEPT_OF_STANDARD_ERROR));
  const QStringList last = linesOf(file.read(KEPT_OF_STANDARD_ERROR));
  return first.first() + (first.size() == 2 ? " / "_s : " ... "_s) + last.value(last.size() - 1);
}

/// One run of a tool, and all that it has left running ends with it.
class TriedTool {
public:
  TriedTool(const QString &role, const QDir &directory)
      : ending({role}), errors(directory.filePath(role + ".err"_s)), process(this) {}

  void start(const mechanism::tool_t &tool, const QStringList &arguments, int input, int output);
  ending_t finish(int limitMs, process::PipeReader *output = nullptr);

private:
  ending_t ending;
  const QString errors;
  process::ToolProcess process;
  QElapsedTimer timer;
};

void TriedTool::start(const mechanism::tool_t &tool, const QStringList &arguments, int input,
                      int output) {
  while (isStopping) // until the thread that stops has ended the program
    ::pause();
  const file::Descriptor error =
      file::openFile(errors.toStdString(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  process::start_t how;
  how.program = tool.path.native();
  how.words.push_back(how.program);
  for (const QString &argument : arguments)
    how.words.push_back(argument.toStdString());
  how.standardInput = input;
  how.standardOutput = output;
  how.standardError = error.get();
  timer.start();
  if (process.start(std::move(how)))
    ending.kind = ending_t::kind_t::EXITED;
  else
    ending.number = process.runError();
}

ending_t TriedTool::finish(int limitMs, process::PipeReader *output) {
  if (ending.kind == ending_t::kind_t::NOT_STARTED)
    return ending;
  const auto rest = static_cast<int>(std::max<qint64>(0, limitMs - timer.elapsed()));
  const bool inTime = process.waitForEnd({output}, rest);
  ending.ms = timer.elapsed();
  if (!inTime)
    process.kill();
  process::sessions::end(process::sessions::of(this));
  process.waitForEnd({output});
  ending.kind = !inTime             ? ending_t::kind_t::TIMED_OUT
                : process.crashed() ? ending_t::kind_t::SIGNALLED
                                    : ending_t::kind_t::EXITED;
  ending.number = process.crashed() ? process.endSignal() : process.exitStatus();
  ending.complaint = complaintIn(errors);
  return ending;
}

QStringList argumentsOf(const mechanism::tool_t &tool, const QString &file) {
  QStringList arguments;
  for (const mechanism::param_t &param : tool.parameters)
    append_param(param, arguments, file);
  return arguments;
}

bool makeEmpty(const QString &path) {
  return QFile(path).open(QIODevice::WriteOnly | QIODevice::Truncate);
}

} // namespace

TrialRoom::TrialRoom()
    : stopSignals({SIGINT, SIGTERM, SIGHUP}, [path = directory.path()](int number) {
        isStopping = true;
        process::sessions::end(process::sessions::all());
        QDir(path).removeRecursively();
        ::_exit(EXIT_SIGNALLED + number);
      }) {}

trial_t TrialRoom::run(const std::string &mechanism, const mechanism::driver_t &driver,
                       const QString &pog, int limit) {
  limitMs = limit;
  trial_t trial;
  const QString empty = directory.filePath("empty.pog"_s);
  makeEmpty(empty);
  const QString source = pog.isEmpty() ? empty : pog;
  const QString file = directory.filePath(secondaryFileName(
      baseNameOfPog(source), QString::fromStdString(mechanism), driver.name, {0, 0}, driver.ext));
  runWriter(driver.writer, source, file, trial);
  if (pog.isEmpty())
    makeEmpty(file);
  trial.hasFile = QFileInfo::exists(file);
  runChain(driver, file, trial);
  QFile::remove(file);
  return trial;
}

void TrialRoom::runWriter(const mechanism::tool_t &writer, const QString &pog, const QString &file,
                          trial_t &trial) {
  QStringList arguments = {"-a"_s, "0"_s, "0"_s, "-i"_s, pog, "-o"_s, file};
  addParametersBits(arguments, writer);
  TriedTool tool(mechanism::TAG_WRITER, directory.path());
  tool.start(writer, arguments, -1, -1);
  trial.endings.push_back(tool.finish(limitMs));
}

void TrialRoom::runChain(const mechanism::driver_t &driver, const QString &file, trial_t &trial) {
  file::pipe_t chain = file::makePipe();
  file::pipe_t results = file::makePipe();
  const bool isFile = driver.prover.input == mechanism::input_t::FILE;
  file::pipe_t silence = file::makePipe(); // stays open and empty
  const file::Descriptor goals = file::openFile(file.toStdString(), O_RDONLY);

  TriedTool prover(mechanism::TAG_PROVER, directory.path());
  TriedTool reader(mechanism::TAG_READER, directory.path());
  prover.start(driver.prover, argumentsOf(driver.prover, file),
               isFile ? silence.readEnd.get() : goals.get(), chain.writeEnd.get());
  reader.start(driver.reader, argumentsOf(driver.reader, file), chain.readEnd.get(),
               results.writeEnd.get());
  chain = {};
  results.writeEnd.reset();
  process::PipeReader output(
      std::move(results.readEnd),
      [&trial](const char *bytes, std::size_t size) { trial.output.append(bytes, size); });
  trial.endings.push_back(prover.finish(limitMs, &output));
  trial.endings.push_back(
      reader.finish(limitMs + static_cast<int>(trial.endings.back().ms), &output));
  output.readRest();
}
