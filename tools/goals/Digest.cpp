// Digests by XXH3, which is as fast as memory is.

#include "Digest.h"

#define XXH_INLINE_ALL
#include <utility>

#include <xxhash.h>

namespace kelvarune::goals {

namespace {

digest_t digestOfHash(const XXH128_hash_t &hash) {
  return {hash.high64, hash.low64};
}

} // namespace

struct TokenDigest::state_t {
  XXH3_state_t hash; // aligned for it by new
};

TokenDigest::TokenDigest() : state(std::make_unique<state_t>()), pending(new char[CAPACITY]) {}

TokenDigest::~TokenDigest() = default;

void TokenDigest::update(std::string_view bytes) {
  if (!flushed)
    XXH3_128bits_reset(&state->hash);
  flushed = true;
  XXH3_128bits_update(&state->hash, bytes.data(), bytes.size());
}

void TokenDigest::flush() {
  update({pending.get(), std::exchange(used, 0)});
}

void TokenDigest::addSlowly(std::string_view token) {
  flush();
  update(token);
  update(" ");
}

digest_t TokenDigest::take() {
  const std::string_view rest(pending.get(), std::exchange(used, 0));
  if (!flushed) // the same hash, without the state
    return digestOf(rest);
  update(rest);
  flushed = false;
  return digestOfHash(XXH3_128bits_digest(&state->hash));
}

digest_t digestOf(std::string_view bytes) {
  return digestOfHash(XXH3_128bits(bytes.data(), bytes.size()));
}

digest_t following(const digest_t &sequence, const digest_t &element) {
  const std::uint64_t both[] = {sequence.high, sequence.low, element.high, element.low};
  return digestOfHash(XXH3_128bits(both, sizeof both));
}

std::string hexOf(const digest_t &digest) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  std::string result;
  result.reserve(32);
  for (const std::uint64_t half : {digest.high, digest.low}) {
    for (int shift = 60; shift >= 0; shift -= 4)
      result.push_back(DIGITS[half >> shift & 0xf]);
  }
  return result;
}

} // namespace kelvarune::goals
