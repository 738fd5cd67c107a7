#include "history/Work.h"

#include "history/Database.h"

#include <QFileInfo>

namespace history {

double workOfLastRun(const QString &path) {
  constexpr double NOT_KNOWN = -1;
  if (!QFileInfo(path).isFile())
    return NOT_KNOWN;
  try {
    Database database(path.toStdString(), use_t::READING);
    Statement sum = database.prepare(
        "SELECT sum(wall) FROM entries WHERE run = (SELECT max(run) FROM entries)");
    return sum.step() ? sum.optionalReal(0).value_or(NOT_KNOWN) : NOT_KNOWN;
  } catch (const Failure &) {
    return NOT_KNOWN;
  }
}

} // namespace history
