#include "Lister.h"

#include "Paths.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QProcess>

using namespace kelvarune;

namespace {

bool refuseLine(const QString &origin, int line, const QString &what) {
  complain("%1: line %2: %3"_s.arg(origin, QString::number(line), what));
  return false;
}

} // namespace

bool readLines(const QByteArray &lines, const QString &origin,
               std::vector<pos::listed_obligation_t> &list) {
  int number = 0;
  int begin = 0;
  while (begin < lines.size()) {
    int end = lines.indexOf('\n', begin);
    end = end < 0 ? lines.size() : end;
    const QString line = QString::fromUtf8(lines.constData() + begin, end - begin);
    begin = end + 1;
    ++number;
    const QStringList fields = line.split(QLatin1Char('\t'));
    bool isNumber = false;
    const int goal = fields.value(1).toInt(&isNumber);
    if (fields.size() != 3 || !isNumber || fields[2].isEmpty())
      return refuseLine(origin, number, "must be TAG, NUMBER and DIGEST with tabs between"_s);
    if (goal <= 1)
      list.push_back({fields[0], {}});
    const bool isNext = !list.empty() && list.back().tag == fields[0] &&
                        goal == static_cast<int>(list.back().goals.size()) + (goal > 0 ? 1 : 0);
    if (!isNext)
      return refuseLine(origin, number, "the goals of an obligation must be counted from 1"_s);
    if (goal > 0)
      list.back().goals.push_back({fields[2], QString()});
  }
  if (!list.empty())
    return true;
  complain(origin + ": lists no goal"_s);
  return false;
}

bool runLister(const QString &program, const std::string &pogPath,
               std::vector<pos::listed_obligation_t> &list) {
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process.setStandardInputFile(QProcess::nullDevice());
  process.start(program, {QString::fromStdString(pogPath)});
  if (!process.waitForFinished(-1)) {
    complain("%1: cannot be run: %2"_s.arg(program, process.errorString()));
    return false;
  }
  if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
    complain("%1: has failed, nothing was changed"_s.arg(program));
    return false;
  }
  return readLines(process.readAllStandardOutput(), program, list);
}
