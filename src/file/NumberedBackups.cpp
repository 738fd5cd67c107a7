// The names are those that other tools give numbered copies, so that what lists or cleans up such
// copies knows these as well.

#include "file/NumberedBackups.h"

#include "text/Literals.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace kelvarune::file {

std::string numberedBackup(const std::string &path, int number) {
  return path + ".~" + std::to_string(number) + "~";
}

std::vector<int> numbersOfBackups(const std::string &path) {
  const QFileInfo file(QString::fromStdString(path));
  const QRegularExpression pattern("^"_s + QRegularExpression::escape(file.fileName()) +
                                   "\\.~([1-9][0-9]*)~$"_s);
  std::vector<int> numbers;
  for (const QString &name : QDir(file.path()).entryList(QDir::Files | QDir::Hidden)) {
    const int number = pattern.match(name).captured(1).toInt(); // 0 where it does not match
    if (number > 0)
      numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

} // namespace kelvarune::file
