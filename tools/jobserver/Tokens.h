#ifndef KELVARUNE_JOBSERVER_TOKENS_H
#define KELVARUNE_JOBSERVER_TOKENS_H

#include "file/Descriptor.h"
#include "jobserver/MakeFlags.h"

#include <array>
#include <atomic>
#include <string>

namespace kelvarune::jobserver {

/// The tokens that this process has taken from a jobserver, each of which lets it run one job
/// beside its first.
///
/// What is held stands in memory that processes made by fork share, so that the one who outlives
/// this program can give back what a sudden death has left. Any thread, but for moving.
class Tokens {
public:
  /// Without a jobserver: there is never a token.
  Tokens() = default;

  /// Of a jobserver that another program runs. Call before this program opens anything: a pipe
  /// that was not handed on is then known by its numbers being free.
  explicit Tokens(const server_t &server);

  /// Becomes a jobserver of its own with `jobs` jobs, at most 4,096, which the programs that are
  /// started from now on find in MAKEFLAGS. Without tokens for others when the system has no room
  /// for a pipe.
  static Tokens serve(unsigned int jobs);

  Tokens(Tokens &&other) noexcept = default;
  Tokens &operator=(Tokens &&other) noexcept = default;

  /// Whether there is a jobserver.
  bool areThere() const { return held && reading.isOpen(); }
  /// The jobs of the whole budget; 0: not known.
  unsigned int jobs() const { return server.jobs; }
  const server_t &of() const { return server; }

  /// Takes a token if there is one; never waits.
  bool take();
  /// Readable when there may be a token.
  int descriptor() const { return reading.get(); }
  /// Gives one of those that are held back. Nothing when none is.
  void giveBack() { giveBackTo(writeEnd()); }
  /// Gives all back.
  void giveBackAll() { giveBackAllTo(writeEnd()); }

  /// As giveBackAll, in a process made by fork that holds another descriptor of the write end.
  void giveBackAllTo(int descriptor);
  int writeEnd() const;

private:
  /// How many are held, by their bytes.
  using held_t = std::array<std::atomic<unsigned int>, 256>;

  bool giveBackTo(int descriptor);
  void keepRecord();
  void openPipe();

  server_t server;
  file::Descriptor reading; // opened anew, so that it does not block and others may
  file::Descriptor ownEnds[2];
  held_t *held = nullptr; // mapped; lives as long as the program
};

} // namespace kelvarune::jobserver

#endif
