#include "history/Records.h"

#include "text/Literals.h"

using namespace kelvarune;

QString history::pathBeside(const QString &posPath) {
  const QString end = ".pos"_s;
  return (posPath.endsWith(end) ? posPath.chopped(end.size()) : posPath) + ".history"_s;
}
