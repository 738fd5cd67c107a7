#ifndef KELVARUNE_PROCESS_RELAY_H
#define KELVARUNE_PROCESS_RELAY_H

#include "file/Descriptor.h"

#include <cstddef>
#include <functional>
#include <thread>

namespace kelvarune::process {

/// Carries what one tool writes on to another, on a thread of its own, so that a third party sees
/// it. To the tools it is as if one pipe joined them: the second gets its end of file after the
/// last byte, and when it has gone, or its input is closed, the first gets SIGPIPE.
class Relay {
public:
  using consumer_t = std::function<void(const char *, std::size_t)>;

  /// Carries from the read end `source` to the write end `target`. `consumer` is called on the
  /// relay's thread. Throws std::system_error when there is no room for a thread.
  Relay(file::Descriptor source, file::Descriptor target, consumer_t consumer);

  /// Ends it also where the source is still open, as when an ended tool left it to another.
  ~Relay();
  Relay(const Relay &) = delete;
  Relay &operator=(const Relay &) = delete;

private:
  void run();

  file::Descriptor source;
  file::Descriptor target;
  const consumer_t consumer;
  file::pipe_t wake; // its write end is closed to end the thread
  std::thread thread;
};

} // namespace kelvarune::process

#endif
