#ifndef KELVARUNE_PROCESS_PIPEREADER_H
#define KELVARUNE_PROCESS_PIPEREADER_H

#include "file/Descriptor.h"
#include "process/WatchedPipe.h"

#include <cstddef>
#include <functional>
#include <limits>

namespace kelvarune::process {

/// Reads what a tool writes, as it comes, and hands it to a consumer. Never blocks. One thread.
class PipeReader : public WatchedPipe {
public:
  using consumer_t = std::function<void(const char *, std::size_t)>;

  /// Closes the pipe once `limit` bytes have been read, so that a tool that writes on gets SIGPIPE.
  PipeReader(file::Descriptor readEnd, consumer_t consumer,
             std::size_t limit = std::numeric_limits<std::size_t>::max());

  watched_t watched() const override;
  void goOn(const watched_t &watched) override;

  /// The descriptor to wait on; -1 once the end of file has been read.
  int descriptor() const { return readEnd.get(); }

  /// Reads once what is there.
  void readSome();

  /// Reads what stands in the pipe at this moment and no more: somebody who inherited the pipe from
  /// an ended tool might write into it for ever.
  void readRest();

private:
  std::size_t readUpTo(std::size_t size);

  file::Descriptor readEnd;
  consumer_t consumer;
  std::size_t limit;
};

} // namespace kelvarune::process

#endif
