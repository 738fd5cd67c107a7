#ifndef KELVARUNE_JOBSERVER_SLOTS_H
#define KELVARUNE_JOBSERVER_SLOTS_H

#include "director/JobSlots.h"
#include "file/Descriptor.h"
#include "jobserver/Tokens.h"

#include <condition_variable>
#include <mutex>

namespace kelvarune::jobserver {

/// The slots of this process: one that it has anyway, and one more for each token.
class Slots : public JobSlots {
public:
  /// `tokens` must outlive the slots.
  explicit Slots(Tokens &tokens);

  bool acquire(const std::function<bool()> &isWanted) override;
  void release() override;
  void wake() override;

  /// As acquire, without waiting.
  bool acquireNow();

private:
  bool take();
  void ring();
  void awaitToken(std::unique_lock<std::mutex> &lock);

  Tokens &tokens;
  file::pipe_t bell; // rings for the one who waits for a token
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool isFirstTaken = false;
  unsigned int moreTaken = 0; // each with a token
  bool isAwaited = false;     // a token, by one for all
};

} // namespace kelvarune::jobserver

#endif
