#ifndef KELVARUNE_FILE_NUMBEREDBACKUPS_H
#define KELVARUNE_FILE_NUMBEREDBACKUPS_H

#include <string>
#include <vector>

/// Copies of a file beside it, under its path followed by ".~1~", ".~2~" and so on, of which the
/// highest number is the latest. Any thread.
namespace kelvarune::file {

/// The path of copy `number` of the file at `path`.
std::string numberedBackup(const std::string &path, int number);

/// The numbers of the copies that are there, in ascending order. None when the directory cannot be
/// read.
std::vector<int> numbersOfBackups(const std::string &path);

} // namespace kelvarune::file

#endif
