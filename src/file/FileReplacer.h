#ifndef KELVARUNE_FILE_FILEREPLACER_H
#define KELVARUNE_FILE_FILEREPLACER_H

#include "file/Descriptor.h"

#include <QByteArray>
#include <QVector>

#include <string>

#include <sys/stat.h>

namespace kelvarune::file {

/// What a replacement came to.
enum class outcome_t {
  DONE,         ///< the path names the new content, which is on the disk
  NOT_WRITABLE, ///< there is no file of that name or it cannot be written; nothing was changed
  FAILED        ///< the system refused half-way (no space, I/O error, ...); see the error number
};

struct result_t {
  outcome_t outcome;
  int error; ///< an errno value, 0 when done
};

/// Replaces the content of one file so that its path names a complete content at every instant, the
/// old one or the new one, whatever interrupts the program or the disk.
///
/// The new content goes to a temporary file beside the file, with the file's mode, owner and
/// extended attributes, is flushed to the disk and renamed. The file that had the name before is
/// kept under the temporary name as a spare until the object is destroyed, and when nobody has
/// touched either file in between, the next content is written over the spare, from the first piece
/// that differs, and the two change names: the disk need not find new room each time. A path that
/// is a symbolic link stays one; the file that it leads to is replaced. Where a rename is not
/// possible or would change more than the content (the directory cannot be written, the file has
/// other hard links, the owner cannot be kept, the file is a mount point or no regular file), the
/// file is written in place; its space is then reserved first, so that a full disk still changes
/// nothing.
///
/// Not for several threads at once. Several programs may replace the same file; the last one wins.
class FileReplacer {
public:
  explicit FileReplacer(std::string path);
  ~FileReplacer();
  FileReplacer(const FileReplacer &) = delete;
  FileReplacer &operator=(const FileReplacer &) = delete;

  const std::string &path() const { return target; }

  /// Replaces the content by the concatenation of `pieces`. The file must exist.
  result_t replace(const QVector<QByteArray> &pieces);

  /// Copies the file as it is now to the same path followed by "~", replacing what stands there.
  result_t keepBackup() const;

  /// Removes the spare, as destruction does, for programs that end without it.
  void removeSpare();

private:
  /// A file whose content is known: what it was when it was written here.
  struct known_file_t {
    std::string path;
    Descriptor file;
    struct stat status = {};
    QVector<QByteArray> content;
  };

  result_t replaceWhole(const QVector<QByteArray> &pieces, Descriptor old,
                        const struct stat &status, const std::string &path);
  bool mayUseSpare(const struct stat &status, const std::string &path) const;
  result_t replaceBySpare(const QVector<QByteArray> &pieces, Descriptor old,
                          const std::string &path);
  bool exchange(const std::string &temporary, known_file_t &written, known_file_t &replaced);

  std::string target;
  bool leftoversRemoved = false;
  known_file_t current; // what the path names; without path: unknown
  known_file_t spare;   // what the temporary name names; without path: there is none
};

} // namespace kelvarune::file

#endif
