#include "shell/Quoting.h"

#include "text/Literals.h"

#include <algorithm>

using namespace kelvarune;

namespace {

bool isPlain(QChar c) {
  const bool isWord = c.unicode() < 128 && c.isLetterOrNumber();
  return isWord || "_-./,:+=@%"_s.contains(c);
}

} // namespace

QString shellQuoted(const QString &word) {
  if (!word.isEmpty() && std::all_of(word.begin(), word.end(), isPlain))
    return word;
  return QLatin1Char('\'') + QString(word).replace("'"_s, "'\\''"_s) + QLatin1Char('\'');
}

QString shellQuoted(const QStringList &words) {
  QStringList quoted;
  for (const QString &word : words)
    quoted << shellQuoted(word);
  return quoted.join(QLatin1Char(' '));
}
