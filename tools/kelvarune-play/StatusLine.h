#ifndef KELVARUNE_PLAY_STATUSLINE_H
#define KELVARUNE_PLAY_STATUSLINE_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

/// Shows on a terminal how far a run has come, from construction to its end.
///
/// The line goes to standard error, and only when that is a terminal that is not called "dumb", and
/// while the program is in the terminal's foreground. It stands in the last row of the screen,
/// which is kept apart for it, so that it never mixes with results and messages. Never blocks on a
/// terminal that has been halted.
class StatusLine {
public:
  /// `text` gives what to show, nothing while there is nothing to say; it is called a few times a
  /// second on a thread of the line's own.
  explicit StatusLine(std::function<std::string()> text);
  ~StatusLine();
  StatusLine(const StatusLine &) = delete;
  StatusLine &operator=(const StatusLine &) = delete;

  /// Gives the screen back; no line shows anything afterwards. For a program that ends while a line
  /// may be shown still. Any thread.
  static void endAll();

private:
  void end();
  void run();
  void show();

  const std::function<std::string()> text;
  int rows = 0; // of the screen whose last row is kept apart
  int columns = 0;
  std::mutex mutex;
  std::condition_variable ended;
  bool ending = false; // guarded by mutex
  std::thread thread;
};

#endif
