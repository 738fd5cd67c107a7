#ifndef KELVARUNE_DIRECTOR_JOBSLOTS_H
#define KELVARUNE_DIRECTOR_JOBSLOTS_H

#include <functional>

namespace kelvarune {

/// A budget of jobs that a director shares with others: its workers take a slot before they take an
/// entry, and give it back when the entry has ended. See ProofDirector::setJobSlots.
class JobSlots {
public:
  JobSlots() = default;
  JobSlots(const JobSlots &) = delete;
  JobSlots &operator=(const JobSlots &) = delete;
  virtual ~JobSlots() = default;

  /// Waits for a slot for as long as `isWanted` says that one is; false when it is not. Any thread.
  /// `isWanted` may be called with a lock of the slots held: it must not call them.
  virtual bool acquire(const std::function<bool()> &isWanted) = 0;

  /// Gives back a slot that was acquired. Any thread.
  virtual void release() = 0;

  /// Lets all who wait for a slot ask again whether it is wanted. Any thread; hold no lock that
  /// their `isWanted` takes.
  virtual void wake() = 0;
};

} // namespace kelvarune

#endif
