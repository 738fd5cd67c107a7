// A status file holds days of provers' work, so it is never written before its bytes are safe
// beside it, under a name that nothing had.

#include "files/Saving.h"

#include "file/FileReplacer.h"
#include "output/Output.h"
#include "pos/pos.h"
#include "text/Literals.h"

#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>

#include <cerrno>
#include <cstring>

#include <unistd.h>

using namespace kelvarune;

namespace {

bool refuseToSave(const QString &path, const QString &what, int error, const QString &state) {
  complain(path + ": "_s + what + ": "_s + QString::fromLocal8Bit(std::strerror(error)) + "; "_s +
           state);
  return false;
}

} // namespace

QByteArray bytesOf(const QDomDocument &document) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, pos::XML_INDENT);
  stream.flush();
  return bytes;
}

bool replaceFile(const QString &path, const QByteArray &bytes, QString &backup) {
  const QString untouched = "nothing was changed"_s;
  file::FileReplacer replacer(path.toStdString());
  if (::access(replacer.path().c_str(), W_OK) != 0)
    return refuseToSave(path, "cannot be written"_s, errno, untouched);
  std::string copy;
  const file::result_t kept = replacer.keepNumberedBackup(copy);
  backup = QString::fromStdString(copy);
  if (kept.outcome != file::outcome_t::DONE)
    return refuseToSave(path, "cannot be copied to "_s + backup, kept.error, untouched);
  const file::result_t result = replacer.replace({bytes});
  if (result.outcome != file::outcome_t::DONE)
    return refuseToSave(path, "cannot be replaced"_s, result.error, "as it was: "_s + backup);
  return true;
}

bool writeFile(const QString &path, const QByteArray &bytes) {
  QSaveFile file(path);
  if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
    return true;
  complain(path + ": cannot be written: "_s + file.errorString());
  return false;
}

bool isSameFile(const QString &path, const QString &other) {
  const QString canonical = QFileInfo(path).canonicalFilePath();
  return !canonical.isEmpty() && canonical == QFileInfo(other).canonicalFilePath();
}
