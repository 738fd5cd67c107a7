#ifndef KELVARUNE_PLAY_STATUSLINE_H
#define KELVARUNE_PLAY_STATUSLINE_H

#include "director/ProofDirector.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Shows on a terminal how far a director has come, from construction to its end.
///
/// The line goes to standard error, and only when that is a terminal that is not called "dumb", and
/// while the program is in the terminal's foreground. It stands in the last row of the screen,
/// which is kept apart for it, so that it never mixes with results and messages. Never blocks on a
/// terminal that has been halted.
class StatusLine {
public:
  /// `director` must outlive the line.
  explicit StatusLine(const ProofDirector &director);
  ~StatusLine();
  StatusLine(const StatusLine &) = delete;
  StatusLine &operator=(const StatusLine &) = delete;

  /// Gives the screen back; no line shows anything afterwards. For a program that ends while a line
  /// may be shown still. Any thread.
  static void endAll();

private:
  using steady_t = std::chrono::steady_clock;

  void end();
  void run();
  void show();
  void follow(const kelvarune::progress_t &now);
  std::string text() const;

  const ProofDirector &director;
  kelvarune::progress_t progress;
  steady_t::time_point passStart;
  steady_t::time_point lastEnd; // of an entry; the start of the pass before there is one
  int rows = 0;                 // of the screen whose last row is kept apart
  int columns = 0;
  std::mutex mutex;
  std::condition_variable ended;
  bool ending = false; // guarded by mutex
  std::thread thread;
};

#endif
