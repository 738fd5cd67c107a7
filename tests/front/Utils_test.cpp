#include "front/Utils.h"

#include <gtest/gtest.h>

namespace {

TEST(Utils, BaseNameOfPath) {
  const struct {
    const char *path;
    const char *expected;
  } rows[] = {
      {"", ""},
      {"Alto", "Alto"},
      {"Alto.xml", "Alto"},
      {"Alto.v2.xml", "Alto.v2"},
      {"Alto.", "Alto"},
      {".pos", ""},
      {"/data/mech/Alto.xml", "Alto"},
      {"/data/mech/Alto", "Alto"},
      {"/data.d/Alto", "Alto"},
      {"/data.d/", ""},
      {"dir/.pos", ""},
      {"../Alto", "Alto"},
      {"dir/..", "."},
      {"C:\\data.d\\Alto.xml", "Alto"},
      {"a/b\\c.x", "c"},
      {"a\\b/c.x", "c"},
      {"dir/\xff.pos", "\xff"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(baseNameOfPath(row.path), row.expected) << row.path;
}

} // namespace
