#ifndef KELVARUNE_PROCESS_EXCERPT_H
#define KELVARUNE_PROCESS_EXCERPT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvarune::process {

/// The beginning and the end of what a tool writes, however much that is. Plain value.
class Excerpt {
public:
  Excerpt() = default;
  /// Keeps the first `headBytes` and the last `tailBytes`.
  Excerpt(std::size_t headBytes, std::size_t tailBytes)
      : headLimit(headBytes), tailLimit(tailBytes) {}

  void append(const char *bytes, std::size_t size) {
    total += size;
    const std::size_t first = std::min(size, headLimit - head.size());
    head.append(bytes, first);
    const std::size_t kept = std::min(size - first, tailLimit);
    tail.append(bytes + size - kept, kept);
    if (tail.size() > 2 * tailLimit) // now and then rather than for every piece
      tail.erase(0, tail.size() - tailLimit);
  }

  /// The length of the whole text in bytes.
  std::uint64_t length() const { return total; }
  /// How many bytes between beginning() and end() are missing.
  std::uint64_t omitted() const { return total - head.size() - end().size(); }

  std::string_view beginning() const { return head; }
  std::string_view end() const {
    return std::string_view(tail).substr(tail.size() - std::min(tail.size(), tailLimit));
  }

private:
  std::size_t headLimit = 0;
  std::size_t tailLimit = 0;
  std::uint64_t total = 0;
  std::string head;
  std::string tail;
};

} // namespace kelvarune::process

#endif
