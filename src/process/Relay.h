#ifndef KELVARUNE_PROCESS_RELAY_H
#define KELVARUNE_PROCESS_RELAY_H

#include "file/Descriptor.h"
#include "process/WatchedPipe.h"

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>

namespace kelvarune::process {

/// Carries what one tool writes on to another, while somebody waits for them, so that a third party
/// sees it. To the tools it is as if one pipe joined them: the second gets its end of file after
/// the last byte, and when it has gone, or its input is closed, the first gets SIGPIPE. One thread.
class Relay : public WatchedPipe {
public:
  using consumer_t = std::function<void(const char *, std::size_t)>;

  /// Carries from the read end `source` to the write end `target`, and shows `consumer` what it
  /// has read.
  Relay(file::Descriptor source, file::Descriptor target, consumer_t consumer);
  Relay(const Relay &) = delete;
  Relay &operator=(const Relay &) = delete;

  watched_t watched() const override;
  void goOn(const watched_t &watched) override;

private:
  bool readSome();
  bool writePending();

  static constexpr std::size_t BUFFER_SIZE = 65536;

  file::Descriptor source;
  file::Descriptor target;
  const consumer_t consumer;
  std::array<char, BUFFER_SIZE> buffer;
  std::string_view pending; // part of the buffer
};

} // namespace kelvarune::process

#endif
