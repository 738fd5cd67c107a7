#ifndef KELVARUNE_FILE_FILEREPLACER_H
#define KELVARUNE_FILE_FILEREPLACER_H

#include "file/Content.h"
#include "file/Descriptor.h"
#include "file/TurnTaking.h"

#include <optional>
#include <string>

#include <sys/stat.h>

namespace kelvarune::file {

/// What a replacement came to.
enum class outcome_t {
  DONE,         ///< the path names the new content, and both are on the disk
  NOT_WRITABLE, ///< there is no file of that name or it never could be written; nothing was changed
  GONE,         ///< the file was there when it was begun with; nothing was created
  FAILED        ///< the system refused (no space, I/O error, no more permission, a file system that
                ///< has become read-only, ...); see the error number
};

/// Whether the path named content that another program had put there since it was begun with or
/// last replaced.
enum class foreign_t {
  NONE, ///< no, or that has been noticed before
  KEPT, ///< it is kept under the path followed by "~"
  LOST  ///< it could not be kept
};

struct result_t {
  outcome_t outcome;
  int error; ///< an errno value, 0 when done
  foreign_t foreign = foreign_t::NONE;
};

/// Replaces the content of one file so that its path names a complete content at every instant, the
/// old one or the new one, whatever interrupts the program, the disk or the power.
///
/// The new content goes to another file beside the file, with the file's mode, owner and extended
/// attributes. What is flushed when: first the new content; then the two exchange their names; then
/// the directory, so that after `DONE` not even a power cut brings the old content back. The file
/// that had the name is kept as a spare and, if nobody objects, written over by the next content
/// (see TurnTaking): the disk need not find new room each time. A path that is a symbolic link
/// stays one; the file that it leads to is replaced.
///
/// Where a rename is not possible or would change more than the content (the directory cannot be
/// written, the file has other hard links, the owner cannot be kept, the file is a mount point or
/// no regular file), the file is written in place; its space is then reserved first, so that a full
/// disk still changes nothing. A kill or a power cut can tear such a file.
///
/// Not for several threads at once. Several programs may replace the same file; the last one wins.
class FileReplacer {
public:
  explicit FileReplacer(std::string path);

  const std::string &path() const { return target; }

  /// To be called before the content is read that replacements will build on: changes by other
  /// programs are noticed from here on. Removes what killed runs have left beside the file.
  void begin();

  /// Replaces the content by the concatenation of `pieces`. The file must exist. Content that
  /// another program has put there is kept first, the first time that this happens, unless
  /// keepBackup has kept something already.
  result_t replace(const pieces_t &pieces);

  /// Copies the file as it is now to the same path followed by "~", replacing what stands there.
  /// The copy gets owner, group, mode and access list of the file or, where that is not permitted,
  /// can be read by its owner only.
  result_t keepBackup();

  /// As keepBackup, but to a new name: of the numbered copies (see NumberedBackups.h) the one after
  /// the latest. `backup` becomes its path. Nothing that is there is replaced.
  result_t keepNumberedBackup(std::string &backup);

  /// Removes the spare, as destruction does, for programs that end without it.
  void removeSpare();

private:
  result_t notWritable(int error) const;
  int keep(const std::string &source, const std::string &backup, bool isNew = false);
  foreign_t keepForeign(const std::string &source, int &error);
  result_t replaceContent(const pieces_t &pieces, Descriptor old, const struct stat &status,
                          const std::string &resolved);
  result_t giveName(TemporaryFile next, const pieces_t &pieces, Descriptor old,
                    const struct stat &status, const std::string &resolved);
  result_t writeInPlace(const Descriptor &file, const struct stat &status, const pieces_t &pieces);

  std::string target;
  std::optional<struct stat> known; ///< the file as it was begun with or last replaced
  bool begun = false;
  bool wasWritable = false; ///< when it was begun with
  bool hasBackup = false;
  TurnTaking turns;
};

} // namespace kelvarune::file

#endif
