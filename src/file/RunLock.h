#ifndef KELVARUNE_FILE_RUNLOCK_H
#define KELVARUNE_FILE_RUNLOCK_H

#include <functional>
#include <string>

#include <sys/types.h>

namespace kelvarune::file {

/// Who has a lock, as far as its file says.
struct lock_owner_t {
  pid_t process = 0;   ///< 0 when that is not known
  std::string host;    ///< where that process runs
  std::string program; ///< its name

  /// "process 4711 on HOST (PROGRAM)", or "another run".
  std::string text() const;
};

/// Keeps runs apart that would get in each other's way: at any time one of them has the lock on a
/// subject, which is a path.
///
/// Rules for programs that run directors side by side or beside the programs of this project:
/// - Whoever reads a POS file in order to change it has the lock on that path, from before reading
///   it until after the last save.
/// - Whoever runs the tools of a mechanism has the locks on what secondaryFileSubjects (director)
///   gives for it, taken in the order of that list, and after the lock on the POS file.
/// - A director takes no lock by itself.
///
/// The lock is an advisory one of the system (flock) on a file `.NAME.kelvarune-lock` beside the
/// subject, which holds the owner's name and is removed by release. A run that is killed leaves
/// that file but no lock. Links to the subject are followed; the subject need not exist. Where the
/// directory cannot be written, the subject itself is locked. It works between machines on file
/// systems whose locks do.
///
/// A lock belongs to one thread at a time; different locks are independent. Nothing is raised.
class RunLock {
public:
  enum class outcome_t {
    HELD,       ///< this object has the lock, until it is released or destroyed
    BUSY,       ///< another process, or another object of this one, has it: see owner()
    UNAVAILABLE ///< there can be none, for the reason error(): nobody is kept away
  };

  RunLock() = default;
  RunLock(RunLock &&other) noexcept;
  RunLock &operator=(RunLock &&other) noexcept;
  ~RunLock() { release(); }

  /// Takes the lock on `subject` (UTF-8) if that is possible now. Releases the one that this object
  /// had.
  outcome_t tryTake(const std::string &subject);

  /// Waits until it can be taken. When that takes longer than a second `tell` is called, once, with
  /// the owner. Never BUSY. Who shall be able to stop waiting ends the program, see releaseAll.
  outcome_t take(const std::string &subject, const std::function<void(const lock_owner_t &)> &tell);

  /// Gives the lock back, if this object has one.
  void release();

  const lock_owner_t &owner() const { return other; }
  /// Why the last attempt found no lock to be had, an errno value.
  int error() const { return reason; }
  /// Whether the reason is that the system or the disk has no locks or no room for one, which is
  /// worth a message; where nothing could be written anyway it is not.
  bool isWorthAMessage() const;

  /// Removes the files of all locks of this process, for a program that ends without destroying
  /// anything. The locks themselves end with the program. Any thread.
  static void releaseAll();

private:
  outcome_t open(const std::string &subject);
  outcome_t lockFile(int flags);
  outcome_t unavailable(int error);

  int fd = -1;
  std::string path; // of the lock's file, to be removed; empty when the subject itself is locked
  lock_owner_t other;
  int reason = 0;
};

} // namespace kelvarune::file

#endif
