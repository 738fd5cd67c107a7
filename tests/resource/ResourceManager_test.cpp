// The flat functions over the one manager.

#include "ResourceFixture.h"

#include <memory>

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

// Stands first: only a process that has not made its manager can tell.
TEST(WithoutManager, NothingHappensAndNothingIsFound) {
  if (get_resource_manager())
    GTEST_SKIP() << "another test of this process made the manager";
  load_resources("/missing");
  EXPECT_EQ(lookup_resource("t", "r"), nullptr);
  EXPECT_EQ(set_resource("t", "r", "1"), nullptr);
  delete_resource("t", "r");
  delete_tool_resources("t");
  delete_all_resources();
  delete_morvanel_resources();
  delete_user_resources();
  delete_explicit_resources();
  save_resources();

  T_resource_file file("name", RESOURCE_SOURCE_USER, nullptr, nullptr, nullptr);
  for (const char *text : {"! c", "MVL*t*r: 1"})
    file.set_line(100, text);
  CaptureStderr();
  syntax_analysis(file.first_line);
  file.set_line(2, "MVL*t");
  syntax_analysis(file.first_line);
  EXPECT_EQ(GetCapturedStderr(), "name:2: Resource syntax error: tool name not found\n");
  EXPECT_EQ(get_resource_manager(), nullptr);
}

using ResourceManager = ResourceTest;

TEST_F(ResourceManager, LaterSourcesOverrideAndDoNotFallBack) {
  const std::string general =
      directory.write("general", "MVL*Proof*x: 1\nMVL*Proof*y: 1\nMVL*Proof*z: 1\n");
  const std::string user = directory.write("user", "MVL*Proof*x: 2\nMVL*Proof*y: 2\n");
  const std::string named = directory.write("named", "MVL*Proof*x: 3\n");
  load_resources(general.c_str(), user.c_str(), named.c_str());
  EXPECT_EQ(printed(), "MVL*Proof*x: 3\nMVL*Proof*y: 2\nMVL*Proof*z: 1\n");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "MVL*Proof*z: 1\n");
  delete_explicit_resources();
  EXPECT_EQ(lookup("Proof", "x"), "(none)");
  delete_user_resources();
  EXPECT_EQ(printed(), "MVL*Proof*z: 1\n");
  delete_morvanel_resources();
  EXPECT_EQ(printed(), "");
  checkLinks();
}

TEST_F(ResourceManager, AGeneralOrUserFileReplacesTheOneBefore) {
  for (const T_resource_source source : {RESOURCE_SOURCE_MORVANEL, RESOURCE_SOURCE_USER}) {
    clear();
    load(source, "one", "MVL*t*r: 1\nMVL*t*s: 1\n");
    load(source, "two", "MVL*t*r: 2\n");
    EXPECT_EQ(printed(), "MVL*t*r: 2\n");
    EXPECT_EQ(textOf(source), "MVL*t*r: 2\n");
    load(source, "empty", "");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(textOf(source), "");
  }
}

TEST_F(ResourceManager, AChangeMovesToTheMostSpecificWritableFile) {
  const char *const content = "! c\nMVL.t.r:\\\n  1\nrest\n";
  const char *const left = "! c\nrest\n";
  const char *const rewritten = "! c\nMVL*t*r: 2\nrest\n";
  struct {
    const char *name;
    T_resource_source defined; ///< The slot that holds the definition.
    bool hasUser;
    bool hasExplicit;
    const char *general;
    const char *user;
    const char *named;
  } const rows[] = {
      {"general alone", RESOURCE_SOURCE_MORVANEL, false, false, left, "MVL*t*r: 2\n", "(none)"},
      {"general, user", RESOURCE_SOURCE_MORVANEL, true, false, left, "u\nMVL*t*r: 2\n", "(none)"},
      {"general, explicit", RESOURCE_SOURCE_MORVANEL, true, true, left, "u\n", "e\nMVL*t*r: 2\n"},
      {"user alone", RESOURCE_SOURCE_USER, false, false, "(none)", rewritten, "(none)"},
      {"user, explicit", RESOURCE_SOURCE_USER, false, true, "(none)", left, "e\nMVL*t*r: 2\n"},
      {"explicit, user", RESOURCE_SOURCE_EXPLICIT, true, false, "(none)", "u\n", rewritten},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    clear();
    if (row.hasUser)
      load(RESOURCE_SOURCE_USER, "user", "u\n");
    if (row.hasExplicit)
      load(RESOURCE_SOURCE_EXPLICIT, "explicit", "e\n");
    load(row.defined, "defined", content);
    ASSERT_NE(set_resource("t", "r", "2"), nullptr);
    EXPECT_EQ(lookup("t", "r"), "2");
    EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), row.general);
    EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), row.user);
    EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), row.named);
    checkLinks();
  }
}

TEST_F(ResourceManager, SavesTheUsersFileUnderTheDefaultName) {
  const std::string old = "MVL*t*r: old\n";
  directory.write(".Morvanel", old);
  load(RESOURCE_SOURCE_MORVANEL, "general", "MVL*t*r: 1\n");
  init_resource_manager(); // once more: the manager stays
  set_resource("t", "r", "2");
  ASSERT_NE(set_resource("new tool", "q", "3"), nullptr);
  const std::string text = "MVL*t*r: 2\nMVL*new tool*q: 3\n";
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), text) << "the file on disk is not read";
  save_resources();
  EXPECT_EQ(directory.read(".Morvanel"), text);
  EXPECT_EQ(directory.read(".Morvanel~"), old);
  EXPECT_EQ(directory.read("general"), "MVL*t*r: 1\n");
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", "kept\n");
  set_resource("t", "new", "4");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "kept\nMVL*t*new: 4\n");
  checkLinks();
}

TEST_F(ResourceManager, SaysThatAResourceWithoutALineCannotBeChanged) {
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", "MVL*t*r: 1\n");
  find("t", "r")->line->release();
  CaptureStderr();
  EXPECT_EQ(set_resource("t", "r", "2"), nullptr);
  EXPECT_EQ(GetCapturedStderr(), "Resource \"r\" sans ligne rattachee");
  EXPECT_EQ(lookup("t", "r"), "2") << "the value is replaced all the same";
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "MVL*t*r: 1\n");
}

TEST_F(ResourceManager, DeletesToolsAndKeepsTheOtherLines) {
  load(RESOURCE_SOURCE_MORVANEL, "general",
       "MVL*a*r: 1\n! gone\nMVL*b*r: 2\nplain\nMVL*c*r: 3\n! kept\n");
  delete_tool_resources("b");
  EXPECT_EQ(printed(), "MVL*a*r: 1\nMVL*c*r: 3\n");
  delete_tool_resources("no such tool");
  delete_tool_resources(nullptr);
  EXPECT_EQ(printed(), "MVL*c*r: 3\n") << "without a name the first tool goes";
  delete_all_resources();
  EXPECT_EQ(printed(), "");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "plain\n! kept\n");
  checkLinks();
}

TEST_F(ResourceManager, TakesAbsentNamesAndValues) {
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", "MVL*t*r: 1\n");
  EXPECT_EQ(lookup_resource("t", nullptr), nullptr);
  EXPECT_EQ(lookup(nullptr, "r"), "1") << "without a name the first tool is meant";
  EXPECT_EQ(set_resource("t", nullptr, "2"), nullptr);
  delete_resource("t", nullptr);
  EXPECT_NE(set_resource("t", "r", nullptr), nullptr);
  EXPECT_EQ(lookup_resource("t", "r"), nullptr);
  EXPECT_EQ(printed(), "MVL*t*r: \n");
  delete_all_resources();
  EXPECT_EQ(set_resource(nullptr, "r", "1"), nullptr);
  EXPECT_EQ(manager().get_file(static_cast<T_resource_source>(3)), nullptr);
  EXPECT_EQ(manager().set_file("x", static_cast<T_resource_source>(-1)), nullptr);
}

TEST_F(ResourceManager, SetToolDoesNotLookForOneOfThatName) {
  T_resource_tool *first = manager().set_tool("t");
  T_resource_tool *second = manager().set_tool("t");
  EXPECT_NE(first, second);
  EXPECT_EQ(manager().get_tool("t"), first);
  manager().delete_tool("t");
  EXPECT_EQ(manager().get_tool("t"), second);
  EXPECT_EQ(manager().set_tool(nullptr), nullptr);
}

TEST_F(ResourceManager, AManagerDestroysWhatItOwns) {
  auto *own = new T_resource_manager;
  T_resource_file *file = own->set_file("name", RESOURCE_SOURCE_EXPLICIT);
  file->set_line(1, "MVL*t*r: 1");
  own->set_tool("t")->set_resource("r", "1", file->first_line);
  delete own;
}

TEST_F(ResourceManager, DefaultUserFileIsBelowTheHomeDirectory) {
  const std::unique_ptr<char[]> name(get_default_user_file());
  EXPECT_EQ(name.get(), directory.bytePath(".Morvanel"));
  unsetenv("HOME");
  const std::unique_ptr<char[]> bare(get_default_user_file());
  EXPECT_STREQ(bare.get(), "/.Morvanel");
}

TEST_F(ResourceManager, PrintsItsBanner) {
  CaptureStdout();
  resource_info();
  EXPECT_THAT(
      GetCapturedStdout(),
      testing::MatchesRegex("- Resource Manager version [0-9]+\\.[0-9.]+ \\([0-9a-f]{40}\\)\n"
                            "                   [^ \n][^\n]*\n"
                            "The following flags have been used : \n"
                            "Compiled with gcc version [^\n]+\n"
                            "Compiled for Linux target\n"
                            "\\(Pentium version\\)\n"));
}

} // namespace
