#ifndef KELVARUNE_FILE_CONTENT_H
#define KELVARUNE_FILE_CONTENT_H

#include <QByteArray>
#include <QVector>

#include <string>

#include <sys/types.h>

namespace kelvarune::file {

/// The content of a file in pieces. A content that is mostly the one before shares its bytes.
using pieces_t = QVector<QByteArray>;

off_t sizeOf(const pieces_t &pieces);

/// How many pieces at the start are the same.
int commonPieces(const pieces_t &a, const pieces_t &b);

/// Writes all the pieces at the descriptor's position, however often a write comes up short. The
/// disk is asked to start on them. Returns 0 or the error number.
int writePieces(int fd, const pieces_t &pieces);

/// Makes it last that the open file `fd` is called `path`: returns when the names in the directory
/// are on the disk as they are now. Returns 0 or the error number.
int flushName(const std::string &path, int fd);

/// The path of the directory with a slash at its end; empty for a bare name.
std::string directoryOf(const std::string &path);

} // namespace kelvarune::file

#endif
