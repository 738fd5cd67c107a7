// In the order of the real paths, so that two commands that wait never wait for each other.

#include "files/Locking.h"

#include "front/Waiting.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <algorithm>

using namespace kelvarune;

namespace {

QString realPath(const QString &path) {
  const QString real = QFileInfo(path).canonicalFilePath();
  return real.isEmpty() ? QFileInfo(path).absoluteFilePath() : real;
}

} // namespace

Locks::Locks(QStringList paths, bool wait) {
  std::sort(paths.begin(), paths.end(),
            [](const QString &a, const QString &b) { return realPath(a) < realPath(b); });
  const auto isSame = [](const QString &a, const QString &b) { return realPath(a) == realPath(b); };
  paths.erase(std::unique(paths.begin(), paths.end(), isSame), paths.end());
  for (const QString &path : std::as_const(paths)) {
    file::RunLock lock;
    if (wait) {
      lock = waitForFile(path.toStdString());
    } else if (!takeFile(path.toStdString(), lock)) {
      complain("%1: %2 uses it; --wait waits for its end"_s.arg(
          path, QString::fromStdString(lock.owner().text())));
      areHeld = false;
      return;
    }
    locks.push_back(std::move(lock));
  }
}
