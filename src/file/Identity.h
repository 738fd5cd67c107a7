#ifndef KELVARUNE_FILE_IDENTITY_H
#define KELVARUNE_FILE_IDENTITY_H

#include <string>

#include <sys/stat.h>

namespace kelvarune::file {

/// Gives the open file `to` owner, group, extended attributes (access list included) and mode of
/// the open file `from`, whose status is `status`, and no attributes beside those: what the
/// directory has added goes. The mode comes last, so that a file that was created for its owner
/// alone is opened to others only when all the rest is right. Returns 0 or the error number.
int copyIdentity(int from, const struct stat &status, int to);

/// Writing takes away the set-user-id and set-group-id bits; gives the file `mode` again if need
/// be. Returns 0 or the error number.
int restoreMode(int fd, mode_t mode);

/// Whether nobody has written to the file between the two: same file, size and time of change.
bool hasSameContent(const struct stat &now, const struct stat &before);

/// Whether nothing at all has happened to the file, its attributes and its names.
bool isUnchanged(const struct stat &now, const struct stat &before);

/// Whether `path` itself, not what it leads to, names the open file `fd`.
bool isNameOf(const std::string &path, int fd);

} // namespace kelvarune::file

#endif
