#ifndef KELVARUNE_GOALS_DIGEST_H
#define KELVARUNE_GOALS_DIGEST_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace kelvarune::goals {

/// 128 bits that tell texts apart. No protection against someone who wants two texts to be equal.
struct digest_t {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  friend bool operator==(const digest_t &a, const digest_t &b) {
    return a.high == b.high && a.low == b.low;
  }
};

digest_t digestOf(std::string_view bytes);

/// The digest of a sequence that ends with one element more. A sequence costs no more than its last
/// value, so that any beginning of it can be kept and gone back to.
digest_t following(const digest_t &sequence, const digest_t &element);

/// 32 hexadecimal digits.
std::string hexOf(const digest_t &digest);

/// Takes tokens, one after the other, into the digest of a text. What stands between tokens does
/// not count. Needs little memory, however long the text is.
class TokenDigest {
public:
  TokenDigest();
  ~TokenDigest();
  TokenDigest(const TokenDigest &) = delete;
  TokenDigest &operator=(const TokenDigest &) = delete;

  void add(std::string_view token) {
    if (token.size() >= CAPACITY - used)
      return addSlowly(token);
    std::memcpy(pending.get() + used, token.data(), token.size());
    used += token.size();
    pending[used++] = ' ';
  }

  /// A place for tokens, each with a blank behind it, that the caller writes there itself: at least
  /// `count` bytes, at most half of what is kept.
  char *room(std::size_t count) {
    if (CAPACITY - used < count)
      flush();
    return pending.get() + used;
  }
  void wrote(std::size_t count) { used += count; }

  /// The digest of the tokens since the last call.
  digest_t take();

private:
  static constexpr std::size_t CAPACITY = 1 << 16;

  void addSlowly(std::string_view token);
  void flush();
  void update(std::string_view bytes);

  struct state_t;
  std::unique_ptr<state_t> state; // of what was flushed
  bool flushed = false;
  std::unique_ptr<char[]> pending; // CAPACITY bytes, of which some are used
  std::size_t used = 0;
};

} // namespace kelvarune::goals

#endif
