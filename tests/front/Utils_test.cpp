#include "front/Utils.h"

#include <gtest/gtest.h>

#include <map>

TEST(Utils, BaseNameOfPath) {
  const std::map<std::string, std::string> names = {
      {"", ""},
      {"Alto", "Alto"},
      {"Alto.v2.xml", "Alto.v2"},
      {"/d.d/A", "A"},
      {"dir/.pos", ""},
      {"C:\\d.d\\A.xml", "A"},
      {"a/b\\c.x", "c"},
      {"a\\b/c.x", "c"},
      {"dir/\xff.pos", "\xff"},
  };
  for (const auto &[path, name] : names)
    EXPECT_EQ(baseNameOfPath(path), name) << path;
}
