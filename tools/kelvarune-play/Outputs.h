#ifndef KELVARUNE_PLAY_OUTPUTS_H
#define KELVARUNE_PLAY_OUTPUTS_H

#include "file/Descriptor.h"

#include <deque>
#include <string>

#include <sys/types.h>

/// What is to be written on standard output and standard error, one after the other, without
/// waiting for whoever reads it. One thread.
class Outputs {
public:
  /// A file without a name for what a program writes; none when it cannot be made.
  static kelvarune::file::Descriptor makeSpool();

  void add(int target, std::string text);
  /// All that stands in a spool.
  void add(int target, kelvarune::file::Descriptor spool);

  bool isEmpty() const { return items.empty(); }
  /// What must be writable for the next piece; -1 when there is none.
  int target() const { return items.empty() ? -1 : items.front().target; }
  /// Writes one piece, so small that a pipe takes it when it is writable.
  void writeSome();

private:
  struct item_t {
    int target;
    std::string text;
    kelvarune::file::Descriptor spool;
    off_t at = 0;
  };

  std::deque<item_t> items;
};

#endif
