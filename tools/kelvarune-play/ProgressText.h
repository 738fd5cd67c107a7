#ifndef KELVARUNE_PLAY_PROGRESSTEXT_H
#define KELVARUNE_PLAY_PROGRESSTEXT_H

#include "director/ProofDirector.h"

#include <chrono>
#include <string>

/// How far a director has come, in the words of a status line. Belongs to one thread.
class ProgressText {
public:
  /// `director` must outlive the text.
  explicit ProgressText(const ProofDirector &director) : director(director) {}

  /// The text at this moment; empty before the first pass.
  std::string now();

private:
  using steady_t = std::chrono::steady_clock;

  void follow(const kelvarune::progress_t &now);
  std::string text() const;

  const ProofDirector &director;
  kelvarune::progress_t progress;
  steady_t::time_point passStart;
  steady_t::time_point lastEnd; // of an entry; the start of the pass before there is one
};

/// A duration as a status line tells it: "12 s", "3 min 4 s", "1 h 30 min".
std::string durationText(double seconds);

#endif
