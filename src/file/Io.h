#ifndef KELVARUNE_FILE_IO_H
#define KELVARUNE_FILE_IO_H

#include "file/Descriptor.h"

#include <QByteArray>

#include <cstddef>
#include <string>

#include <sys/types.h>

/// Opening, reading and writing by one rule: what a signal interrupts is done again, and where a
/// descriptor does not block, its readiness is waited for. So a call fails for good reasons only,
/// and leaves the reason in errno. Any thread.
namespace kelvarune::file {

/// Opens as ::open does, and never for the programs that are started (O_CLOEXEC).
Descriptor openFile(const std::string &path, int flags, mode_t mode = 0);

/// Reads once, at the descriptor's position: the number of bytes, 0 at the end, -1 on an error.
ssize_t readSome(int fd, char *buffer, std::size_t size);

/// As readSome, but from `offset` on and without moving the position.
ssize_t readSomeAt(int fd, char *buffer, std::size_t size, off_t offset);

/// Replaces `content` by what comes from the descriptor's position to its end. False on an error,
/// also when that is more than a QByteArray holds; `content` is then of no use.
bool readAll(int fd, QByteArray &content);

/// Writes everything. False on an error, when some of it may have been written.
bool writeAll(int fd, const char *bytes, std::size_t size);
bool writeAll(int fd, const QByteArray &content);

} // namespace kelvarune::file

#endif
