#ifndef KELVARUNE_TOOLS_COMMON_FILES_INSTALLED_H
#define KELVARUNE_TOOLS_COMMON_FILES_INSTALLED_H

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

/// The mechanism descriptions that are installed with the programs, or lie in the build's tree
/// beside them.
namespace installed {

/// The description of the mechanism called `name`; empty when there is none.
QString mechanism(const QString &name);

/// The names of all of them.
QStringList mechanisms();

/// Where their tools are: beside the program, then where the user's programs are (PATH).
std::vector<std::string> toolDirectories();

} // namespace installed

#endif
