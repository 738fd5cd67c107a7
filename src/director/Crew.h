#ifndef KELVARUNE_DIRECTOR_CREW_H
#define KELVARUNE_DIRECTOR_CREW_H

#include <algorithm>
#include <mutex>
#include <set>
#include <vector>

/// The workers of a pass, and the entries of those who had to leave because the system has no room
/// for the processes of so many. Any thread.
class Crew {
public:
  explicit Crew(unsigned int wanted) : least(wanted) {}

  /// One more is about to work.
  void join() {
    const std::lock_guard lock(mutex);
    ++working;
  }

  /// The one who joined last could not be had. False when nobody is at work.
  bool takeBack() {
    const std::lock_guard lock(mutex);
    least = std::min(least, std::max(--working, 1U));
    return working > 0;
  }

  /// Whether others are at work, so that one may leave.
  bool mayLeave() const {
    const std::lock_guard lock(mutex);
    return working > 1;
  }

  /// A worker leaves and gives its entry back. False when all others have ended meanwhile: then it
  /// has to stay and do the work.
  bool leave(unsigned long entry) {
    const std::lock_guard lock(mutex);
    if (working < 2)
      return false;
    least = std::min(least, --working);
    returned.push_back(entry);
    return true;
  }

  /// For a worker who finds nothing else to do: gives it an entry that another gave back, or lets
  /// it end (false).
  bool takeOver(unsigned long &entry) {
    const std::lock_guard lock(mutex);
    if (returned.empty()) {
      working -= std::min(working, 1U); // nobody joined where the owner of the director works
      return false;
    }
    entry = returned.back();
    returned.pop_back();
    return true;
  }

  /// A worker ends for want of an entry. False when another has given one back, unless it is
  /// stopped.
  bool end(bool isStopped) {
    const std::lock_guard lock(mutex);
    if (!returned.empty() && !isStopped)
      return false;
    working -= std::min(working, 1U);
    return true;
  }

  /// Whether an entry was given back that nobody has taken over.
  bool hasReturned() const {
    const std::lock_guard lock(mutex);
    return !returned.empty();
  }

  /// Whether a worker is the last of several.
  bool isLastOfMany() const {
    const std::lock_guard lock(mutex);
    return working == 1;
  }

  /// Notes that there was no room for the tools of an entry, so that it comes to nothing.
  void giveUp(unsigned long entry) {
    const std::lock_guard lock(mutex);
    givenUp.insert(entry);
  }

  /// Whether that was noted; forgets it.
  bool hasGivenUp(unsigned long entry) {
    const std::lock_guard lock(mutex);
    return givenUp.erase(entry) > 0;
  }

  /// How many workers the system had room for at least.
  unsigned int leastWorkers() const {
    const std::lock_guard lock(mutex);
    return least;
  }

private:
  mutable std::mutex mutex; // guards what follows
  unsigned int working = 0;
  unsigned int least;
  std::vector<unsigned long> returned;
  std::set<unsigned long> givenUp;
};

#endif
