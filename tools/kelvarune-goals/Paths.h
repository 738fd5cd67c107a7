#ifndef KELVARUNE_TOOLS_GOALS_PATHS_H
#define KELVARUNE_TOOLS_GOALS_PATHS_H

#include <QString>

#include <string>

/// Paths are bytes: a name that is no UTF-8 must be found again.
namespace paths {

/// Bytes as text and back, without a loss: a byte that is no UTF-8 becomes a half of a surrogate
/// pair, which no text has alone.
QString textOf(const std::string &bytes);
std::string bytesOf(const QString &text);

/// The path without links, "." and ".."; empty, with errno set, when there is nothing there.
std::string realPath(const std::string &path);

/// The absolute path with "." and ".." taken out of it, whether there is something or not.
std::string absolutePath(const std::string &path);

/// `path` as seen from the directory `from`; both absolute and without "." and "..".
std::string relativePath(const std::string &path, const std::string &from);

/// The directory's path and the name in it.
std::string joined(const std::string &directory, const std::string &name);

/// The directory that something is in: "." for a bare name.
std::string parentOf(const std::string &path);
std::string nameOf(const std::string &path);

} // namespace paths

#endif
