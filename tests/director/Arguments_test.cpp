// The names of files. Parameters are tested where tools get them, by running the program.

#include "director/Arguments.h"

#include <gtest/gtest.h>

namespace {

TEST(Arguments, FileNames) {
  const std::pair<const char *, const char *> rows[] = {
      {"a/b/comp.pog", "comp"}, {"comp.x.pog", "comp.x"}, {"a.b/comp", "comp"}, {"comp", "comp"},
      {"a/.pog", ""},           {"x\\y.pog", "x\\y"},     {"a/b/", ""},
  };
  for (const auto &[path, base] : rows)
    EXPECT_EQ(baseNameOfPog(QString::fromUtf8(path)).toStdString(), base) << path;
  // Names stay literal, whatever placeholders they look like.
  EXPECT_EQ(secondaryFileName(QStringLiteral("%2"), QStringLiteral("%1"), QStringLiteral("a %3"),
                              {3, 0}, QStringLiteral("po2"))
                .toStdString(),
            "%2_%1_a %3_3_0.po2");
}

} // namespace
