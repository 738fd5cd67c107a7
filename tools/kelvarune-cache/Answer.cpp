// One file may carry many goals, and an output in which one goal was given up must not be kept for
// the sake of the others: the next run may get further. So it takes both a definite line and the
// absence of an indefinite one.

#include "kelvarune-cache/Answer.h"

namespace cache {

namespace {

constexpr int MOST_BYTES_KEPT = 64 << 20;
constexpr int LONGEST_LINE = 1 << 20;

} // namespace

void Answer::append(const char *bytes, qint64 count) {
  if (spoilt)
    return;
  if (count > MOST_BYTES_KEPT - kept.size()) {
    spoilt = true;
    kept.clear();
    return;
  }
  int searched = kept.size();
  kept.append(bytes, static_cast<int>(count));
  for (int end; (end = kept.indexOf('\n', searched)) >= 0; searched = lineBegin = end + 1)
    judge(lineBegin, end);
}

bool Answer::isDefinite() {
  if (!spoilt && lineBegin < kept.size())
    judge(lineBegin, kept.size());
  return definite && !spoilt;
}

void Answer::judge(int begin, int end) {
  if (end - begin > LONGEST_LINE) {
    spoilt = true;
    return;
  }
  const QString line = QString::fromUtf8(kept.constData() + begin, end - begin);
  definite = definite || patterns.definite.match(line).hasMatch();
  spoilt = spoilt || patterns.indefinite.match(line).hasMatch();
}

} // namespace cache
