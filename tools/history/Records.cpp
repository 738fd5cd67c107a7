#include "history/Records.h"

#include "text/Literals.h"

#include <QRegularExpression>

using namespace history;
using namespace kelvarune;

namespace {

constexpr int SHORT_DIGEST = 12;

QString longVersion(const prover_t &prover) {
  return prover.version.isNull() ? "SHA-256 "_s + prover.digest : prover.version;
}

} // namespace

QString history::shortVersion(const prover_t &prover) {
  static const QRegularExpression number("\\d+(\\.\\d+)+[\\w.+-]*"_s);
  if (prover.version.isNull())
    return "SHA-256 "_s + prover.digest.left(SHORT_DIGEST);
  const auto match = number.match(prover.version);
  return match.hasMatch() ? match.captured() : prover.version;
}

QString history::changeOf(const prover_t &before, const prover_t &now) {
  if (longVersion(before) == longVersion(now))
    return QString();
  QString was = shortVersion(before);
  QString is = shortVersion(now);
  if (was == is) { // they differ in what stands beside the number
    was = longVersion(before);
    is = longVersion(now);
  }
  return "%1 has changed since the last run: %2 before, %3 now"_s.arg(now.name, was, is);
}

QString history::pathBeside(const QString &posPath) {
  const QString end = ".pos"_s;
  return (posPath.endsWith(end) ? posPath.chopped(end.size()) : posPath) + ".history"_s;
}
