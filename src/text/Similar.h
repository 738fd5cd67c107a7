#ifndef KELVARUNE_TEXT_SIMILAR_H
#define KELVARUNE_TEXT_SIMILAR_H

#include <QString>
#include <QStringList>

#include <algorithm>
#include <numeric>
#include <vector>

namespace kelvarune {

/// How many characters must be inserted, removed or replaced to make one text of the other
/// (Levenshtein). Upper and lower case are the same.
inline int editDistance(const QString &from, const QString &to) {
  std::vector<int> row(static_cast<std::size_t>(to.size()) + 1);
  std::iota(row.begin(), row.end(), 0);
  for (int i = 0; i < from.size(); ++i) {
    int diagonal = row[0]++;
    for (int j = 0; j < to.size(); ++j) {
      int &cell = row[static_cast<std::size_t>(j) + 1];
      const bool same = from[i].toLower() == to[j].toLower();
      const int changed = diagonal + (same ? 0 : 1);
      diagonal = cell;
      cell = std::min({changed, cell + 1, row[static_cast<std::size_t>(j)] + 1});
    }
  }
  return row.back();
}

/// The word of `known` that was probably meant by `word`: the nearest one, when it is no further
/// away than a third of its length. Empty when there is none; of equally near ones the first.
inline QString similarWord(const QString &word, const QStringList &known) {
  QString nearest;
  int least = 0;
  for (const QString &candidate : known) {
    const int distance = editDistance(word, candidate);
    if (distance <= std::max(1, candidate.size() / 3) && (nearest.isNull() || distance < least)) {
      nearest = candidate;
      least = distance;
    }
  }
  return nearest;
}

} // namespace kelvarune

#endif
