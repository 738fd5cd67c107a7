#ifndef KELVARUNE_TOOLS_GOALS_READAHEAD_H
#define KELVARUNE_TOOLS_GOALS_READAHEAD_H

#include "Sources.h"
#include "goals/Source.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

/// What a file holds, or why it cannot be read.
using file_text_t = std::variant<std::string, kelvarune::goals::source_error_t>;

/// Reads a file, once more when it changes meanwhile.
file_text_t readTwice(const std::string &path);

/// Searches for files and reads them on a thread of its own, a little ahead of whoever uses them.
/// Large files are left to them, so that no two of these are in memory.
class ReadAhead {
public:
  /// A file, or a path with its fault.
  struct item_t {
    found_file_t file;
    std::optional<std::string> fault = std::nullopt;
    std::optional<file_text_t> text = std::nullopt; ///< nothing for a large file
  };

  /// `search` searches with what it is given.
  explicit ReadAhead(const std::function<void(Search &)> &search);
  ~ReadAhead() { thread.join(); }
  ReadAhead(const ReadAhead &) = delete;
  ReadAhead &operator=(const ReadAhead &) = delete;

  /// Waits for what comes next, in the order of the search; nothing after the last. All of it must
  /// be taken.
  std::vector<item_t> take();

private:
  void put(item_t item);

  std::mutex mutex; // guards what follows
  std::condition_variable changed;
  std::vector<item_t> items;
  std::size_t bytes = 0; // of the texts in it
  bool ended = false;

  std::thread thread; // last: it uses the rest
};

#endif
