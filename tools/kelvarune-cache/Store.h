#ifndef KELVARUNE_CACHE_STORE_H
#define KELVARUNE_CACHE_STORE_H

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <string>

namespace cache {

/// What a prover said: its whole standard output and its exit status.
struct answer_t {
  QByteArray output;
  int status = 0;
};

/// What was asked since the counts were reset, and what is there.
struct stats_t {
  std::uint64_t hits = 0;    ///< answers that were repeated
  std::uint64_t misses = 0;  ///< questions that the prover was run for, or that found no answer
  std::uint64_t answers = 0; ///< that are stored
  std::uint64_t bytes = 0;   ///< of disk space that they take
};

enum class outcome_t { HIT, MISS };

/// A directory of answers, each in a file of its own that is named by its key.
///
/// Any number of programs may use one directory at once. An answer is written under a temporary
/// name and renamed, so a reader sees all of it or nothing, and it carries a checksum, so that one
/// damaged later is taken for absent. The time of a file's last change tells when it was last used.
class Store {
public:
  /// `maxBytes` bounds the disk space of the answers, 0 for no bound. Touches no file.
  Store(std::string directory, std::uint64_t maxBytes);

  /// The answer of this key, which thereby becomes the one used last.
  std::optional<answer_t> find(const QByteArray &key) const;

  /// Keeps an answer, and makes room for it: those that were not used for longest go. False when it
  /// cannot be kept (it is too large, the disk is full, the directory cannot be written).
  bool keep(const QByteArray &key, const answer_t &answer);

  /// Forgets the answer of this key, if there is one.
  void forget(const QByteArray &key);

  /// Removes damaged answers, temporary files left behind, answers beyond the bound and, when
  /// `unusedSeconds` is above 0, answers that were not used for so long. False when the directory
  /// cannot be written.
  bool cleanUp(double unusedSeconds);

  /// Counts a question. What cannot be counted is not, as in a directory that is shared read-only.
  void count(outcome_t outcome) const;

  stats_t stats() const;

  /// Lets the counts of questions begin anew. False when the directory cannot be written.
  bool resetCounts() const;

private:
  std::string directory;
  std::uint64_t maxBytes;
};

} // namespace cache

#endif
