#include "director/ReaderOutput.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

std::vector<std::string> linesOf(const ReaderOutput &output) {
  std::vector<std::string> lines;
  for (LineCursor cursor(output.text()); !cursor.atEnd();)
    lines.emplace_back(cursor.next());
  return lines;
}

TEST(ReaderOutput, IsTrimmedAsAWholeAndSplitAtLineFeeds) {
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {"", {""}},
      {"\n\n  Proved\nUnknown\r\n\n", {"Proved", "Unknown"}},
      {"Proved\r\nUnknown", {"Proved\r", "Unknown"}},
      {"Proved\n\nUnknown\n", {"Proved", "", "Unknown"}},
      {"Proved\0"s, {"Proved\0"s}},
      {"\0\nProved"s, {"\0"s, "Proved"}},
  };
  for (const auto &[bytes, lines] : rows) {
    // However the bytes arrive.
    for (const std::size_t step : {std::size_t(1), std::size_t(3), bytes.size() + 1}) {
      ReaderOutput output;
      for (std::size_t at = 0; at < bytes.size(); at += step)
        output.append(&bytes[at], std::min(step, bytes.size() - at));
      EXPECT_EQ(linesOf(output), lines) << "by " << step;
      EXPECT_EQ(output.lineCount(), lines.size()) << bytes << " by " << step;
    }
  }
}

TEST(ReaderOutput, CountsBeyondWhatItKeeps) {
  ReaderOutput output;
  const std::string chunk = std::string(999, 'x') + "\n";
  const std::size_t chunks = ReaderOutput::KEPT_BYTES / chunk.size() + 1000;
  for (std::size_t i = 0; i < chunks; ++i)
    output.append(chunk.data(), chunk.size());
  EXPECT_EQ(output.lineCount(), chunks);
  EXPECT_LE(output.text().size(), ReaderOutput::KEPT_BYTES);
}

} // namespace
