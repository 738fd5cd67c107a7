// A copy that is there holds verdicts, perhaps of a run that was killed, so it is never written
// over.

#include "Shard.h"

#include "text/Literals.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

using namespace kelvarune;

QString shardPath(const QString &posPath, unsigned int shard, unsigned int shards) {
  const QFileInfo info(posPath);
  const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
  return posPath.left(posPath.size() - suffix.size()) +
         ".%1-of-%2"_s.arg(QString::number(shard + 1), QString::number(shards)) + suffix;
}

QString copyForShard(const QString &path, const QString &copy) {
  QFile source(path);
  QFile target(copy);
  if (!source.open(QIODevice::ReadOnly))
    return path + ": cannot be read: "_s + source.errorString();
  if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly))
    return QFileInfo::exists(copy)
               ? copy + ": is there already; merge it by kelvarune-pos merge, or remove it."_s
               : copy + ": cannot be created: "_s + target.errorString();
  const QByteArray bytes = source.readAll();
  if (target.write(bytes) == bytes.size() && target.flush() && ::fsync(target.handle()) == 0)
    return QString();
  const QString error = target.errorString();
  target.remove();
  return copy + ": cannot be written: "_s + error;
}
