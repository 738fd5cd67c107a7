// Bytes, not text: a verdict followed by a NUL byte must not pass for a verdict, and megabytes of
// output need no conversion.

#include "director/ReaderOutput.h"

#include <algorithm>

namespace {

constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

std::size_t countLineFeeds(std::string_view bytes) {
  return static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
}

} // namespace

void ReaderOutput::append(const char *bytes, std::size_t size) {
  std::string_view chunk(bytes, size);
  if (kept.empty())
    chunk.remove_prefix(std::min(chunk.find_first_not_of(WHITE_SPACE), chunk.size()));
  lineFeeds += countLineFeeds(chunk);
  const std::size_t last = chunk.find_last_not_of(WHITE_SPACE);
  if (last == std::string_view::npos)
    lineFeedsAtEnd += countLineFeeds(chunk);
  else
    lineFeedsAtEnd = countLineFeeds(chunk.substr(last));
  kept += chunk.substr(0, KEPT_BYTES - std::min(kept.size(), KEPT_BYTES));
}

std::string_view ReaderOutput::text() const {
  const std::string_view all = kept;
  return all.substr(0, all.find_last_not_of(WHITE_SPACE) + 1);
}

std::string_view LineCursor::next() {
  if (ended)
    return {};
  const std::size_t end = rest.find('\n');
  const std::string_view line = rest.substr(0, end);
  ended = end == std::string_view::npos;
  rest.remove_prefix(ended ? rest.size() : end + 1);
  return line;
}
