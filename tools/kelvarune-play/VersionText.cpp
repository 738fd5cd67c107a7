// A program that does not know --version may take it for anything: so it gets no input, a short
// time, and room for little output, what it starts ends with it, and what it says counts only when
// it looks like a version.

#include "VersionText.h"

#include "process/PipeReader.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

using namespace kelvarune;

namespace {

const char *const LIMIT_S = "2";
constexpr int LIMIT_OF_LIMIT_MS = 5000;
constexpr std::size_t MOST_OUTPUT = 16384;
constexpr int MOST_LINES = 10;
constexpr int MOST_CHARACTERS = 200;

} // namespace

// "Z3 version 4.8.12 - 64 bit", "E 2.6 Floral Guranse", "Alt-Ergo v2.4", "3.2.2"; but not the times
// and verdicts that a prover prints which takes the option for a goal.
QString versionIn(const QByteArray &output) {
  static const QRegularExpression version("\\bversion\\b.*\\d|^(\\S+ )?v? ?\\d+(\\.\\d+)+"_s,
                                          QRegularExpression::CaseInsensitiveOption);
  const QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'));
  for (const QString &each : lines.mid(0, MOST_LINES)) {
    const QString line = each.simplified();
    if (version.match(line).hasMatch())
      return line.left(MOST_CHARACTERS);
  }
  return QString();
}

QString VersionText::of(const std::string &path) {
  QByteArray output;
  file::pipe_t pipe = file::makePipe();
  process::PipeReader reader(
      std::move(pipe.readEnd),
      [&](const char *bytes, std::size_t size) { output.append(bytes, static_cast<int>(size)); },
      MOST_OUTPUT);
  process::ToolProcess tool(this);
  if (!start(tool, path, pipe.writeEnd.get()))
    return QString();
  pipe.writeEnd.reset();
  if (!tool.waitForEnd({&reader}, LIMIT_OF_LIMIT_MS))
    tool.kill();
  {
    const std::lock_guard lock(mutex);
    running = nullptr;
  }
  tool.waitForEnd({&reader});
  reader.readRest();
  return tool.crashed() || tool.exitStatus() != 0 ? QString() : versionIn(output);
}

bool VersionText::start(process::ToolProcess &tool, const std::string &path, int output) {
  process::start_t how;
  how.program =
      QDir(QCoreApplication::applicationDirPath()).filePath("kelvarune-limit"_s).toStdString();
  how.words = {how.program, "--time", LIMIT_S, "--grace", "0.1", "--", path, "--version"};
  how.standardOutput = output;
  const std::lock_guard lock(mutex);
  if (stopped || !tool.start(std::move(how)))
    return false;
  running = &tool;
  return true;
}

void VersionText::stop() {
  const std::lock_guard lock(mutex);
  stopped = true;
  if (running)
    running->kill();
}

bool VersionText::isStopped() {
  const std::lock_guard lock(mutex);
  return stopped;
}
