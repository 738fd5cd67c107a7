#include "kelvarune-cache/Answer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

cache::patterns_t patterns() {
  return {QRegularExpression(QRegularExpression::anchoredPattern(QStringLiteral("unsat|sat"))),
          QRegularExpression(
              QRegularExpression::anchoredPattern(QStringLiteral("unknown|timeout|\\(error.*")))};
}

bool isDefinite(const std::vector<std::string> &blocks) {
  const cache::patterns_t both = patterns();
  cache::Answer answer(both);
  for (const std::string &block : blocks)
    answer.append(block.data(), static_cast<qint64>(block.size()));
  return answer.isDefinite();
}

TEST(Answer, IsDefiniteByItsLines) {
  struct {
    const char *name;
    std::vector<std::string> blocks;
    bool definite;
  } const rows[] = {
      {"one verdict", {"unsat\n"}, true},
      {"last line without end", {"goal\nsat"}, true},
      {"a line in two blocks", {"uns", "at\n"}, true},
      {"two blocks that are no line together", {"sat", "urated\n"}, false},
      {"part of a line", {"result: unsat\n"}, false},
      {"nothing", {}, false},
      {"one goal of two given up", {"unsat\nunknown\n"}, false},
      {"given up before the verdict", {"timeout\n", "sat\n"}, false},
      {"an error in the last block", {"unsat\n", "(error \"line 3\")"}, false},
      {"carriage return", {"unsat\r\n"}, false},
      {"zero byte behind the verdict", {std::string("unsat\0\n", 7)}, false},
  };
  for (const auto &row : rows)
    EXPECT_EQ(isDefinite(row.blocks), row.definite) << row.name;
}

TEST(Answer, IsNeverDefiniteBeyondItsBounds) {
  const std::string megabyte(1 << 20, 'x');
  EXPECT_TRUE(isDefinite({"unsat\n", megabyte, "\n"}));
  EXPECT_FALSE(isDefinite({"unsat\n", megabyte, "x", "\n"})) << "one line";
  std::vector<std::string> blocks(65, megabyte.substr(1) + "\n");
  blocks.emplace_back("unsat\n");
  EXPECT_FALSE(isDefinite(blocks)) << "65 MB";
}

} // namespace
