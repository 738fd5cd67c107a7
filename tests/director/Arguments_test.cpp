// The names of files. Parameters are tested where tools get them, by running the program.

#include "director/Arguments.h"
#include "text/Literals.h"
#include "text/Paths.h"

#include <gtest/gtest.h>

using namespace kelvarune;

namespace {

TEST(Arguments, FileNames) {
  const std::pair<const char *, const char *> rows[] = {
      {"a/b/comp.pog", "comp"}, {"comp.x.pog", "comp.x"}, {"a.b/comp", "comp"}, {"comp", "comp"},
      {"a/.pog", ""},           {"x\\y.pog", "x\\y"},     {"a/b/", ""},
  };
  for (const auto &[path, base] : rows)
    EXPECT_EQ(baseNameOfPog(QString::fromUtf8(path)).toStdString(), base) << path;
  const std::pair<const char *, const char *> paths[] = {
      {"Alto", "Alto"},  {"Alto.v2.xml", "Alto.v2"}, {"/d.d/A", "A"},   {"dir/.pos", ""},
      {"a/b\\c.x", "c"}, {"C:\\d.d\\A.xml", "A"},    {"a\\b/c.x", "c"}, {"d/\xff.pos", "\xff"}};
  for (const auto &[path, base] : paths)
    EXPECT_EQ(baseNameOfPath(path), base) << path;
  // Names stay literal, whatever placeholders they look like.
  EXPECT_EQ(secondaryFileName("%2"_s, "%1"_s, "a %3"_s, {3, 0}, "po2"_s).toStdString(),
            "%2_%1_a %3_3_0.po2");
}

} // namespace
