#ifndef KELVARUNE_FILE_TEMPORARYFILE_H
#define KELVARUNE_FILE_TEMPORARYFILE_H

#include "file/Descriptor.h"

#include <string>

namespace kelvarune::file {

/// A file under a hidden name of its own beside another one, open for writing. The name belongs to
/// this object: it is removed at the end, whatever it names by then, unless it was let go.
///
/// The file is locked (flock) while it is in use. So a file with such a name that can be locked was
/// left by a run that was killed, and two running programs never take each other's for their own.
struct TemporaryFile {
  std::string path; ///< empty: there is none
  Descriptor file;

  TemporaryFile() = default;
  TemporaryFile(std::string path, Descriptor file) : path(std::move(path)), file(std::move(file)) {}
  TemporaryFile(TemporaryFile &&other) noexcept;
  TemporaryFile &operator=(TemporaryFile &&other) noexcept;
  ~TemporaryFile();

  /// Creates an empty one beside `target` that only its owner can read. Returns 0 or the error
  /// number.
  int create(const std::string &target);

  /// The name is no longer there to be removed.
  void letGo() { path.clear(); }
};

/// Removes the temporary files beside `target` that killed runs have left.
void removeLeftovers(const std::string &target);

} // namespace kelvarune::file

#endif
