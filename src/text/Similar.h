#ifndef KELVARUNE_TEXT_SIMILAR_H
#define KELVARUNE_TEXT_SIMILAR_H

#include <QString>
#include <QStringList>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace kelvarune {

/// How many characters must be inserted, removed, replaced or exchanged with their neighbour to
/// make one text of the other. Upper and lower case are the same.
inline int editDistance(const QString &from, const QString &to) {
  const auto same = [&](int i, int j) { return from[i].toLower() == to[j].toLower(); };
  // Rows of the table of distances between beginnings: for i - 2, i - 1 and i characters of `from`.
  std::vector<int> oldest;
  std::vector<int> previous;
  std::vector<int> row(static_cast<std::size_t>(to.size()) + 1);
  std::iota(row.begin(), row.end(), 0);
  for (int i = 0; i < from.size(); ++i) {
    oldest = std::move(previous);
    previous = row;
    row[0] = i + 1;
    for (int j = 0; j < to.size(); ++j) {
      const auto at = static_cast<std::size_t>(j);
      row[at + 1] =
          std::min({previous[at] + (same(i, j) ? 0 : 1), previous[at + 1] + 1, row[at] + 1});
      if (i > 0 && j > 0 && same(i, j - 1) && same(i - 1, j))
        row[at + 1] = std::min(row[at + 1], oldest[at - 1] + 1);
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
