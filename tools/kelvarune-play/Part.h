#ifndef KELVARUNE_PLAY_PART_H
#define KELVARUNE_PLAY_PART_H

#include "director/ProofData.h"
#include "file/Descriptor.h"

#include <atomic>
#include <cstdint>

/// How far one of several plays has come, in memory that it shares with the one who started it: the
/// figures outlive it however it ends.
struct part_progress_t {
  std::atomic<std::uint32_t> known = 0; ///< entries of the passes so far
  std::atomic<std::uint32_t> finished = 0;
  std::atomic<std::uint32_t> proved = 0;
};

/// The shared memory of one play, in the starter and in the play.
class Part {
public:
  /// Of the starter. Without memory (the system has none) nothing is told.
  static Part make();

  /// Of a play: what its starter has made, if it was started as one of several. It then ends with
  /// its starter: it gets SIGTERM when that is gone. Call first in main.
  static Part fromStarter();

  /// Without memory.
  Part() = default;
  Part(Part &&other) noexcept;
  Part &operator=(Part &&other) noexcept;
  ~Part();

  /// To be inherited by the play; -1 without memory.
  int descriptor() const { return memory.get(); }
  /// Lets the next program that is started be this part.
  void announce() const;

  part_progress_t *progress() const { return shared; }
  /// Tells how far the current pass has come; passes before it count as well.
  void tell(const kelvarune::progress_t &now);

private:
  void map();

  kelvarune::file::Descriptor memory;
  part_progress_t *shared = nullptr;
  kelvarune::progress_t pass; ///< as it was told last
};

#endif
