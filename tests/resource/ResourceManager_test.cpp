// The flat functions over the one manager, and the objects behind it, which destroy each other. The
// links between them are what the fuzzer checks.

#include "ResourceFixture.h"

namespace {

using ResourceManager = ResourceTest;

template <int number>
void deleteLine() {
  get_resource_manager()->files[0]->delete_line(number);
}

TEST_F(ResourceManager, ChangesFilesAndDefinitionsTogether) {
  const char *const rst = "MVL*t*r: 1|MVL*t*s: 1|MVL*t*t: 1|";
  const char *const rs = "MVL*t*r: 2|MVL*t*s: 2|";
  const char *const old = "! c|MVL.t.r:\\|  1|rest|";
  const char *const lines = "! a|! b|MVL*t*r: \\|\\|  v|plain|! c|";
  const char *const tools = "MVL*a*r: 1|! b|MVL*b*r: 2|plain|MVL*t*r: 3|! kept|";
  std::string many;
  for (int i = 0; i < 200001; ++i)
    many += i < 100000 ? "!|" : i == 100000 ? "MVL*t*r: \\|" : "\\|";
  many += "v|";
  const auto set = [] { set_resource("t", "r", "2"); };
  const auto deleteR = [] { delete_resource("t", "r"); };
  const auto deleteB = [] { delete_tool_resources("b"); };
  const auto deleteFirst = [] { delete_tool_resources(nullptr); };
  const auto continueAgain = [] {
    manager().files[0]->set_line(2, "\\");
    syntax_analysis(manager().files[0]->first_line);
  };
  struct {
    const char *name, *general, *user, *named;
    void (*action)();
    const char *files;
    const char *value; ///< Of the resource r of the tool t.
  } const rows[] = {
      {"no way back", rst, rs, "MVL*t*r: 3|", delete_explicit_resources,
       "G:MVL*t*t: 1|U:MVL*t*s: 2|", nullptr},
      {"general goes", rst, rs, nullptr, delete_morvanel_resources, "U:MVL*t*r: 2|MVL*t*s: 2|",
       "2"},
      {"set, general", old, nullptr, nullptr, set, "G:! c|rest|U:MVL*t*r: 2|", "2"},
      {"set, general, named", old, "u|", "e|", set, "G:! c|rest|U:u|E:e|MVL*t*r: 2|", "2"},
      {"set, user, named", nullptr, old, "e|", set, "U:! c|rest|E:e|MVL*t*r: 2|", "2"},
      {"set, named", nullptr, "u|", old, set, "U:u|E:! c|MVL*t*r: 2|rest|", "2"},
      {"set anew", nullptr, nullptr, "e|", set, "E:e|MVL*t*r: 2|", "2"},
      {"continued once more", "MVL*t*r: \\|1|2|", nullptr, nullptr, continueAgain,
       "G:MVL*t*r: \\|\\|2|", "2"},
      {"comment's line goes alone", lines, nullptr, nullptr, deleteLine<1>,
       "G:! b|MVL*t*r: \\|\\|  v|plain|! c|", "v"},
      {"first line takes all", lines, nullptr, nullptr, deleteLine<3>, "G:plain|! c|", nullptr},
      {"last line takes all", lines, nullptr, nullptr, deleteLine<5>, "G:plain|! c|", nullptr},
      {"one resource", "! a||MVL*|! b|MVL*t*r: 1|! c|MVL*t*s: 2|", nullptr, nullptr, deleteR,
       "G:|MVL*|! c|MVL*t*s: 2|", nullptr},
      {"one tool", tools, nullptr, nullptr, deleteB, "G:MVL*a*r: 1|plain|MVL*t*r: 3|! kept|", "3"},
      {"first tool", tools, nullptr, nullptr, deleteFirst,
       "G:! b|MVL*b*r: 2|plain|MVL*t*r: 3|! kept|", "3"},
      {"all tools", tools, nullptr, nullptr, delete_all_resources, "G:plain|! kept|", nullptr},
      {"many lines, resource", many.c_str(), nullptr, nullptr, deleteR, "G:", nullptr},
      {"many lines, a line", many.c_str(), nullptr, nullptr, deleteLine<150000>, "G:", nullptr},
      {"many lines, file", many.c_str(), nullptr, nullptr, delete_morvanel_resources, "", nullptr},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    clear();
    load(row.general, row.user, row.named);
    row.action();
    EXPECT_EQ(files(), row.files);
    EXPECT_STREQ(lookup_resource("t", "r"), row.value);
  }
}

TEST_F(ResourceManager, OnlyASecondExplicitFileAddsToTheFirst) {
  load("MVL*t*r: 1|MVL*t*q: 1|", "MVL*t*u: 1|", "! a|MVL*t*r: 1|! b|MVL*t*s: \\|2|! last|");
  load("", "", "MVL*t*u: 3|! again|MVL*t*r: 4|");
  EXPECT_EQ(files(), "G:U:E:! a|! b|MVL*t*s: \\|2|! last|MVL*t*u: 3|! again|MVL*t*r: 4|");
  EXPECT_EQ(printed(), "MVL*t*r: 4\nMVL*t*s: 2\nMVL*t*u: 3\n");
  delete_resource("t", "u"); // follows the comment that was the last line
  delete_resource("t", "r");
  EXPECT_EQ(files(), "G:U:E:! b|MVL*t*s: \\|2|");
}

TEST_F(ResourceManager, TakesAbsentNamesValuesAndLines) {
  load(nullptr, nullptr, "MVL*t*r: 1|");
  init_resource_manager(); // once more: the manager stays
  EXPECT_STREQ(lookup_resource(nullptr, "r"), "1") << "without a name the first tool is meant";
  EXPECT_FALSE(lookup_resource("t", nullptr) || set_resource("t", nullptr, "2"));
  delete_resource("t", nullptr);
  EXPECT_NE(set_resource("t", "r", nullptr), nullptr);
  EXPECT_EQ(lookup_resource("t", "r"), nullptr);
  EXPECT_EQ(files() + printed(), "E:MVL*t*r: |MVL*t*r: \n");
  manager().first_tool->first_resource->line->release();
  EXPECT_EQ(messagesOf([] { EXPECT_EQ(set_resource("t", "r", "2"), nullptr); }),
            "Resource \"r\" sans ligne rattachee");
  EXPECT_EQ(files() + printed(), "E:MVL*t*r: |MVL*t*r: 2\n")
      << "the value is replaced all the same";
  delete_all_resources();
  EXPECT_EQ(set_resource(nullptr, "r", "1"), nullptr);
  EXPECT_EQ(manager().set_file("x", static_cast<T_resource_source>(-1)), nullptr);
}

} // namespace
