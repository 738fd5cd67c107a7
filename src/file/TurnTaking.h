#ifndef KELVARUNE_FILE_TURNTAKING_H
#define KELVARUNE_FILE_TURNTAKING_H

#include "file/Content.h"
#include "file/TemporaryFile.h"

#include <string>

#include <sys/stat.h>

namespace kelvarune::file {

/// Two files that take turns under one path. Writing over blocks that a file has is several times
/// faster than finding new ones; so the file that a replacement displaces is kept as a spare under
/// its temporary name, and the next content is written over it.
///
/// Who may have the files open: the one that the path names anybody, for as long as they like. Who
/// opened it before it became the spare keeps what they opened: then `claim` gives nothing.
///
/// The lease: the kernel grants a lease for writing only while nobody else has the file open. It is
/// held from `claim` until the descriptor is closed or `release` is called, which must be after the
/// content has been flushed and before the names are exchanged. Who opens the spare in between, by
/// its temporary name or because they looked the path up just before it became the spare, waits
/// until then and finds a complete content. The kernel reports such a wait by a signal; SIGURG is
/// chosen, which is ignored by default.
///
/// A power cut: on the disk a path may name what it named some seconds ago. So a file becomes the
/// spare only when the exchange of names that made it so has been flushed; `keep` does that. What
/// is written over is then, on the disk too, never what the path names.
///
/// When somebody else has changed either file or their names, the two are strangers and `claim`
/// gives nothing. Not for several threads at once.
class TurnTaking {
public:
  ~TurnTaking() { end(); }
  TurnTaking() = default;
  TurnTaking(const TurnTaking &) = delete;
  TurnTaking &operator=(const TurnTaking &) = delete;

  /// The spare, to be written over as the next content of `path`, whose status is `now`; and in
  /// `held` what it holds. Without a file when there is none or it must not be written over; the
  /// spare is removed then.
  TemporaryFile claim(const std::string &path, const struct stat &now, pieces_t &held);

  /// Ends the lease on a claimed file.
  static void release(const TemporaryFile &claimed);

  /// Takes over what an exchange of names has left: `written`, which `path` names now, holds
  /// `newContent`; `displaced`, which was `before` when it was last looked at, has the temporary
  /// name. Returns when the exchange is on the disk; the displaced file is the spare then, unless
  /// somebody has written to it. Returns 0 or the error number; with an error there is no spare.
  /// What is not kept loses its name.
  int keep(const std::string &path, const Descriptor &written, const pieces_t &newContent,
           TemporaryFile displaced, const struct stat &before);

  /// Removes the spare.
  void end();

private:
  // What the path names, as it was when it got its content from here.
  std::string path;
  struct stat status = {};
  pieces_t content; // empty: unknown

  TemporaryFile spare;
  struct stat spareStatus = {};
  pieces_t spareContent; // empty: unknown
};

} // namespace kelvarune::file

#endif
