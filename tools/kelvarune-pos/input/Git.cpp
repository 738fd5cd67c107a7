#include "input/Git.h"

#include "text/Literals.h"

#include <QProcess>
#include <QProcessEnvironment>

using namespace kelvarune;

namespace {

// What a hook of git gets names its own repository and not that of the directory.
QProcessEnvironment environment() {
  QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
  for (const char *name : {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE", "GIT_PREFIX"})
    variables.remove(QLatin1String(name));
  variables.insert("LC_ALL"_s, "C"_s); // complaints are passed on
  return variables;
}

QString firstLineOf(const QByteArray &text) {
  return QString::fromUtf8(text.left(text.indexOf('\n')));
}

} // namespace

git::answer_t git::ask(const QString &directory, const QStringList &arguments,
                       const QString &outputPath) {
  QProcess process;
  process.setProcessEnvironment(environment());
  process.setWorkingDirectory(directory);
  process.setStandardInputFile(QProcess::nullDevice());
  if (!outputPath.isEmpty())
    process.setStandardOutputFile(outputPath);
  process.start("git"_s, QStringList("--literal-pathspecs"_s) + arguments);
  if (!process.waitForFinished(-1))
    return {false, {}, "the git program cannot be run"_s};
  const bool isDone = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
  return {isDone, process.readAllStandardOutput(), firstLineOf(process.readAllStandardError())};
}
