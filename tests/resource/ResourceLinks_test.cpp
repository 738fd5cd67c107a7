// Files, lines, comments and resources destroy each other. Here they do so in any order; the
// address sanitizer and checkLinks say whether something was left behind.

#include "ResourceFixture.h"

#include <random>

namespace {

using ResourceLinks = ResourceTest;

const char *const CONTENT = "! a\n! b\nMVL*t*r: \\\n\\\n  v\nplain\n! c\n";

TEST_F(ResourceLinks, AnyLineOfADefinitionTakesTheWholeAlong) {
  const std::pair<int, const char *> rows[] = {
      {1, "! b\nMVL*t*r: \\\n\\\n  v\nplain\n! c\n"}, // a comment's line goes alone
      {3, "plain\n! c\n"},
      {4, "plain\n! c\n"},
      {5, "plain\n! c\n"},
  };
  for (const auto &[number, left] : rows) {
    SCOPED_TRACE(number);
    clear();
    load(RESOURCE_SOURCE_MORVANEL, "general", CONTENT);
    manager().get_file(RESOURCE_SOURCE_MORVANEL)->delete_line(number);
    EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), left);
    EXPECT_EQ(lookup("t", "r"), number == 1 ? "v" : "(none)");
    delete_resource("t", "r");
    EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "plain\n! c\n");
    checkLinks();
  }
}

TEST_F(ResourceLinks, ASecondExplicitFileAddsToTheFirst) {
  load(RESOURCE_SOURCE_EXPLICIT, "first", "! a\nMVL*t*r: 1\n! b\nMVL*t*s: \\\n2\n! last\n");
  load(RESOURCE_SOURCE_EXPLICIT, "second", "MVL*t*u: 3\n! again\nMVL*t*r: 4\n");
  EXPECT_EQ(printed(), "MVL*t*r: 4\nMVL*t*s: 2\nMVL*t*u: 3\n");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT),
            "! a\n! b\nMVL*t*s: \\\n2\n! last\nMVL*t*u: 3\n! again\nMVL*t*r: 4\n");
  EXPECT_EQ(manager().get_file(RESOURCE_SOURCE_EXPLICIT)->name.chars, directory.bytePath("second"));
  checkLinks();
  // "! last" is followed by a definition now.
  delete_resource("t", "u");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "! a\n! b\nMVL*t*s: \\\n2\n! again\nMVL*t*r: 4\n");
  delete_resource("t", "r");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "! b\nMVL*t*s: \\\n2\n");
  checkLinks();
}

TEST_F(ResourceLinks, LongListsNeedNoDeepStack) {
  std::string comments;
  std::string continuation = "MVL*t*r: \\\n";
  for (int i = 0; i < 100000; ++i) {
    comments += "!\n";
    continuation += "\\\n";
  }
  const std::string content = comments + continuation + "v\n";
  for (int round = 0; round < 3; ++round) {
    load(RESOURCE_SOURCE_EXPLICIT, "explicit", content);
    EXPECT_EQ(lookup("t", "r"), "v");
    if (round == 0)
      delete_resource("t", "r");
    else if (round == 1)
      manager().get_file(RESOURCE_SOURCE_EXPLICIT)->delete_line(150000);
    else
      delete_explicit_resources();
    EXPECT_EQ(lookup("t", "r"), "(none)");
  }
}

void deleteFirstComment(T_resource_ident *owner) {
  if (owner && owner->first_comment)
    T_resource_item::delete_item(owner->first_comment, &owner->first_comment, &owner->last_comment);
}

// Use that nobody would call sensible: lines replaced behind the parser's back, analysis from
// anywhere, files that end inside a definition.
TEST_F(ResourceLinks, SurviveRandomAbuse) {
  const char *const texts[] = {"! note", "MVL*a*p: 1", "MVL*a*p: \\", "\\", "MVL*b*q: \\", "value"};
  const char *const tools[] = {"a", "b", "c"};
  std::mt19937 engine(99);
  const auto below = [&engine](unsigned count) { return static_cast<int>(engine() % count); };
  const auto source = [&below] { return static_cast<T_resource_source>(below(3)); };
  for (int step = 0; step < 20000 && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    testing::internal::CaptureStderr();
    T_resource_file *file = manager().get_file(source());
    if (!file)
      file = manager().set_file("file", source());
    const int number = below(20);
    const int action = below(60);
    if (action == 0)
      manager().delete_file(source());
    else if (action == 1)
      delete_tool_resources(nullptr);
    else if (action < 5)
      delete_resource("a", "p");
    else if (action < 10)
      set_resource(tools[below(3)], "q", "set");
    else if (action < 12)
      deleteFirstComment(find("a", "p"));
    else if (action < 27)
      file->set_line(number, texts[below(6)]);
    else if (action < 43)
      file->delete_line(number);
    else
      syntax_analysis(file->get_line(number));
    testing::internal::GetCapturedStderr();
    checkLinks();
  }
}

} // namespace
