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

std::optional<QStringList> shellWords(const QString &line) {
  QStringList words;
  QString word;
  QChar quote; // the one that is open
  bool isInWord = false;
  for (int at = 0; at < line.size(); ++at) {
    const QChar c = line[at];
    if (c == QLatin1Char('\\') && quote != QLatin1Char('\'')) {
      if (++at == line.size())
        return std::nullopt;
      if (!quote.isNull() && !"\"\\$`"_s.contains(line[at]))
        word += c;
      word += line[at];
      isInWord = true;
    } else if (!quote.isNull()) {
      if (c == quote)
        quote = QChar();
      else
        word += c;
    } else if (c.isSpace()) {
      if (isInWord)
        words << word;
      word.clear();
      isInWord = false;
    } else {
      isInWord = true;
      if (c == QLatin1Char('\'') || c == QLatin1Char('"'))
        quote = c;
      else
        word += c;
    }
  }
  if (!quote.isNull())
    return std::nullopt;
  if (isInWord)
    words << word;
  return words;
}
