#ifndef KELVARUNE_CACHE_ANSWER_H
#define KELVARUNE_CACHE_ANSWER_H

#include <QByteArray>
#include <QRegularExpression>

namespace cache {

/// Which lines of a prover's output make it worth keeping. A pattern is matched against whole
/// lines, without their line end.
struct patterns_t {
  QRegularExpression definite;   ///< a verdict that running again cannot change
  QRegularExpression indefinite; ///< a goal given up, a time limit, an error
};

/// What a prover has written on its standard output so far, judged line by line.
class Answer {
public:
  explicit Answer(const patterns_t &patterns) : patterns(patterns) {}

  void append(const char *bytes, qint64 count);

  /// Whether the output, taken as complete, holds a definite line and no indefinite one. An output
  /// too large to be kept, or with a line too long to be a verdict, is never definite.
  bool isDefinite();

  /// The whole output; meaningful only when isDefinite.
  const QByteArray &text() const { return kept; }

private:
  void judge(int begin, int end);

  const patterns_t &patterns;
  QByteArray kept;
  int lineBegin = 0;
  bool definite = false;
  bool spoilt = false;
};

} // namespace cache

#endif
