// Names of files are made of names that others chose. What a file system or a shell might take
// amiss is replaced, and what has become the same by that is numbered.

#include "LogFiles.h"

#include "output/Words.h"
#include "text/Literals.h"

#include <QDir>
#include <QRegularExpression>
#include <QSaveFile>

using namespace kelvarune;

namespace {

constexpr int LONGEST_NAME = 200; // file systems allow 255 bytes

} // namespace

bool LogFiles::write(const entry_record_t &record, const QString &text) {
  QSaveFile file(QDir(directory).filePath(nameFor(record)));
  return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}

QString LogFiles::nameFor(const entry_record_t &record) {
  static const QRegularExpression unusual("[^A-Za-z0-9._-]"_s);
  QString base = record.mechanism + QLatin1Char('_') + record.driver;
  if (!record.goals.empty())
    base += QLatin1Char('_') + textOf(record.goals.front());
  base.replace(unusual, "_"_s).truncate(LONGEST_NAME);
  if (base.startsWith(QLatin1Char('.')) || base.startsWith(QLatin1Char('-')))
    base[0] = QLatin1Char('_');
  const std::lock_guard lock(mutex);
  QString name = base;
  for (int number = 2; !names.insert(name).second; ++number)
    name = base + "_again%1"_s.arg(number);
  return name + ".txt"_s;
}
