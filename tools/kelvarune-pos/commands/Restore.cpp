// Takes a numbered copy back. The file as it is may be anything, so it is not looked at: it is kept
// as the next copy. The copy must be a status file.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "file/NumberedBackups.h"
#include "files/Locking.h"
#include "files/Reading.h"
#include "files/Saving.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace kelvarune;

namespace {

QString copyOf(const QString &path, int number) {
  return QString::fromStdString(file::numberedBackup(path.toStdString(), number));
}

int refuseNumber(const options_t &options, const std::vector<int> &numbers) {
  const QString old = options.file() + QLatin1Char('~');
  QStringList known;
  for (const int number : numbers)
    known.append(QString::number(number));
  const QString remedy = !known.isEmpty() ? "there are "_s + known.join(", "_s)
                         : QFileInfo(old).exists()
                             ? "cp takes the older copy "_s + old + " back"_s
                             : "nothing has been changed by unprove, remove or merge"_s;
  complain(copyOf(options.file(), std::max(options.backup, 1)) + ": no such copy, "_s + remedy);
  return EXIT_REFUSED;
}

QByteArray contentOf(const QString &path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

int commands::restore(const options_t &options) {
  const QString &path = options.file();
  const Locks locks(options.written(), options.wait);
  if (!locks)
    return EXIT_REFUSED;
  const std::vector<int> numbers = file::numbersOfBackups(path.toStdString());
  const auto last = options.backup == 0
                        ? numbers.rbegin()
                        : std::find(numbers.rbegin(), numbers.rend(), options.backup);
  if (last == numbers.rend())
    return refuseNumber(options, numbers);
  const QString copy = copyOf(path, *last);
  if (!QFileInfo(path).isFile()) {
    complain(path + ": no such file to replace, cp takes "_s + copy + " back"_s);
    return EXIT_REFUSED;
  }
  QDomDocument document;
  const std::vector<pos::fault_t> faults = pos::readFaults(copy, pos::use_t::COUNTING, document);
  if (isUnusable(faults)) {
    refuse(copy, faults);
    return EXIT_REFUSED;
  }
  const QString place = shown(path) + ": "_s;
  const QByteArray bytes = contentOf(copy);
  if (bytes == contentOf(path))
    return finish((place + "is as "_s + shown(copy) + ", nothing to change\n"_s).toUtf8());
  if (options.dryRun)
    return finish((place + "would become as "_s + shown(copy) + QLatin1Char('\n')).toUtf8());
  QString backup;
  if (!replaceFile(path, bytes, backup))
    return EXIT_REFUSED;
  const QString text = "restored from %1; as it was: %2\n"_s.arg(shown(copy), shown(backup));
  return finish((place + text).toUtf8());
}
