// Files as they may be written, and what is read from them.

#include "ResourceFixture.h"

namespace {

struct syntax_case_t {
  const char *name;
  const char *content;
  const char *resources; ///< As printed: one canonical line each.
  const char *errors;    ///< "N: message" lines.
  const char *lines;     ///< What the file in memory holds after it; none: `content` unchanged.
};

std::ostream &operator<<(std::ostream &stream, const syntax_case_t &row) {
  return stream << row.name;
}

class Syntax : public ResourceTest, public testing::WithParamInterface<syntax_case_t> {};

const syntax_case_t SYNTAX_CASES[] = {
    {"stars", "MVL*prover*timeout: 30\n", "MVL*prover*timeout: 30\n", "", nullptr},
    {"points", "MVL.prover.timeout:30\n", "MVL*prover*timeout: 30\n", "", nullptr},
    {"mixed_separators", "MVL.prover*timeout:30\n", "MVL*prover*timeout: 30\n", "", nullptr},
    {"blanks", " \t MVL*prover*time out :  30  \t\n", "MVL*prover*time out : 30\n", "", nullptr},
    {"separators_in_resource_name", "MVL*t*a.b*c: 1\n", "MVL*t*a.b*c: 1\n", "", nullptr},
    {"colon_and_marks_in_value", "MVL*t*r: a:b*c.d!e\n", "MVL*t*r: a:b*c.d!e\n", "", nullptr},
    {"blanks_in_value", "MVL*t*r: a \t b\n", "MVL*t*r: a \t b\n", "", nullptr},
    {"colon_in_tool_name", "MVL*t:u*r: v\n", "MVL*t:u*r: v\n", "", nullptr},
    {"empty_names", "MVL***: v\nMVL**:w\n", "MVL***: v\nMVL**: w\n", "", nullptr},
    {"carriage_return_stays", "MVL*t*r: v\r\n", "MVL*t*r: v\r\n", "", nullptr},

    {"no_tool", "MVL*prover\n", "", "1: tool name not found\n", nullptr},
    {"no_name", "MVL*prover*timeout\n", "", "1: resource name or colon not found\n", nullptr},
    {"no_value", "MVL*prover*timeout:  \t \n", "", "1: resource value not found\n", nullptr},
    {"goes_on_after_an_error", "\nMVL*\nMVL*t*r: 1\nMVL*t*\n", "MVL*t*r: 1\n",
     "2: tool name not found\n4: resource name or colon not found\n", nullptr},

    {"lower_case_prefix", "mvl*prover*timeout: 30\n", "", "", nullptr},
    {"no_separator", "MVLprover*timeout: 30\n", "", "", nullptr},
    {"prefix_alone", "MVL\nMV\nM\n", "", "", nullptr},
    {"prefix_inside", "x MVL*t*r: 1\n", "", "", nullptr},
    {"commented_out", "  ! MVL*t*r: 1\n", "", "", nullptr},

    {"continued", "MVL*t*r: \\\n   value\n", "MVL*t*r: value\n", "", nullptr},
    {"continued_twice", "MVL*t*r:\\\n \\ignored\n\tvalue \nMVL*t*q: 1\n",
     "MVL*t*r: value\nMVL*t*q: 1\n", "", nullptr},
    {"text_after_the_backslash", "MVL*t*r: \\x\nvalue\n", "MVL*t*r: value\n", "", nullptr},
    {"value_line_is_not_read_again", "MVL*t*r: \\\n! MVL*t*q: 1\n", "MVL*t*r: ! MVL*t*q: 1\n", "",
     nullptr},
    {"continued_to_the_end", "MVL*t*r: \\\n", "", "1: resource value not found\n", nullptr},
    {"continued_twice_to_the_end", "MVL*q*q: 1\nMVL*t*r: \\\n\\\n", "MVL*q*q: 1\n",
     "2: resource value not found\n", nullptr},
    {"continued_by_a_blank_line", "MVL*t*r: \\\n  \nMVL*q*q: 1\n", "MVL*q*q: 1\n",
     "1: resource value not found\n", nullptr},

    {"backslash_ends_the_value", "MVL*t*r: abc \\\nMVL*t*q: 1\n", "MVL*t*r: abc\nMVL*t*q: 1\n", "",
     nullptr},
    {"only_the_last_backslash_goes", "MVL*t*r: a\\\\\n", "MVL*t*r: a\\\n", "", nullptr},
    {"backslash_before_blanks_stays", "MVL*t*r: a\\ \n", "MVL*t*r: a\\\n", "", nullptr},

    {"the_last_definition_wins", "MVL*t*r: 1\n\nMVL*t*s: 5\nMVL.t.r: 2\n",
     "MVL*t*r: 2\nMVL*t*s: 5\n", "", "\nMVL*t*s: 5\nMVL.t.r: 2\n"},
    {"redefined_continued", "MVL*t*r: \\\n\\\n1\nrest\nMVL*t*r: 2\n", "MVL*t*r: 2\n", "",
     "rest\nMVL*t*r: 2\n"},
    {"redefined_by_continued", "MVL*t*r: 1\nMVL*t*r: \\\n2\n", "MVL*t*r: 2\n", "",
     "MVL*t*r: \\\n2\n"},
    {"names_differ_by_case_and_blank", "MVL*t*r: 1\nMVL*T*r: 2\nMVL*t*r : 3\n",
     "MVL*t*r: 1\nMVL*t*r : 3\nMVL*T*r: 2\n", "", nullptr},
};

TEST_P(Syntax, ReadsAFile) {
  const syntax_case_t &row = GetParam();
  testing::internal::CaptureStderr();
  load(RESOURCE_SOURCE_MORVANEL, "general", row.content);
  const std::string errors = testing::internal::GetCapturedStderr();

  const std::string prefix = directory.bytePath("general") + ":";
  std::string expected;
  std::istringstream messages(row.errors);
  for (std::string number, message;
       std::getline(messages, number, ':') && std::getline(messages, message);)
    expected.append(prefix)
        .append(number)
        .append(": Resource syntax error:")
        .append(message + "\n");
  EXPECT_EQ(errors, expected);
  EXPECT_EQ(printed(), row.resources);
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), row.lines ? row.lines : row.content);
  checkLinks();
}

INSTANTIATE_TEST_SUITE_P(Cases, Syntax, testing::ValuesIn(SYNTAX_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

using Analysis = ResourceTest;

TEST_F(Analysis, CommentsGoToTheNextDefinitionAndGoWithIt) {
  load(RESOURCE_SOURCE_MORVANEL, "general",
       "! a\n\n! b\nMVL*\nother\nMVL*t*r: 1\n! c\nMVL*t*s: 2\n! d\n");
  delete_resource("t", "r");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "\nMVL*\nother\n! c\nMVL*t*s: 2\n! d\n");
  delete_resource("t", "s");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "\nMVL*\nother\n! d\n");
  checkLinks();
}

TEST_F(Analysis, ALineThatMeansSomethingElseNowLeavesItsResource) {
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", "! c\nMVL*t*r: \\\n\\\n1\nMVL*t*q: 2\n");
  T_resource_file *file = manager().get_file(RESOURCE_SOURCE_EXPLICIT);
  struct {
    const char *text;
    int number;
    int analyseFrom;
  } const changes[] = {
      {"MVL*t*new: 5", 3, 3},    {"! note", 4, 3},         {"MVL*t*r: 7", 1, 1},
      {"! second", 2, 1},        {"MVL*t*new: 6", 5, 5},   {"MVL*t*r: \\", 5, 1},
      {"MVL*t*again: \\", 1, 1}, {"MVL*t*again: 1", 2, 2}, {"MVL*t*q: 1", 3, 1},
  };
  testing::internal::CaptureStderr();
  for (const auto &change : changes) {
    file->set_line(change.number, change.text);
    syntax_analysis(file->get_line(change.analyseFrom));
    checkLinks();
  }
  testing::internal::GetCapturedStderr(); // What is said about such lines is not of interest.
  delete_all_resources();
  checkLinks();
}

TEST_F(Analysis, AContinuationThatOverlapsTheOldOneKeepsItsLines) {
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", "MVL*t*r: \\\n1\n2\n");
  T_resource_file *file = manager().get_file(RESOURCE_SOURCE_EXPLICIT);
  file->set_line(2, "\\");
  syntax_analysis(file->first_line);
  EXPECT_EQ(printed(), "MVL*t*r: 2\n");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "MVL*t*r: \\\n\\\n2\n");

  file->set_line(2, "3");
  syntax_analysis(file->first_line);
  EXPECT_EQ(printed(), "MVL*t*r: 3\n");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "MVL*t*r: \\\n3\n");
  checkLinks();
}

} // namespace
