// A signal may end the program at any time, so that the directory is removed by whoever comes
// first.

#include "Workspace.h"

#include "text/Literals.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

using namespace kelvarune;

QString Workspace::create(const QString &parent, bool keep) {
  const std::lock_guard lock(mutex);
  std::string made = (parent + "/kelvarune-play-XXXXXX"_s).toStdString();
  if (over || !::mkdtemp(made.data()))
    return QString();
  path = keep ? std::string() : made;
  return QString::fromStdString(made);
}

void Workspace::remove() {
  const std::lock_guard lock(mutex);
  over = true;
  std::error_code ignored; // what cannot be removed stays
  if (!path.empty())
    std::filesystem::remove_all(path, ignored);
  path.clear();
}
