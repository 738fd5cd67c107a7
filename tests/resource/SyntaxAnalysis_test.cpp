// Files as they may be written, and what is read from them.

#include "ResourceFixture.h"
#include "text/Literals.h"

#include <QString>

using namespace kelvarune;

namespace {

using SyntaxAnalysis = ResourceTest;

TEST_F(SyntaxAnalysis, ReadsAFile) {
  struct {
    const char *name;
    const char *content;
    const char *resources;       ///< As printed: one canonical line each.
    const char *errors = "";     ///< "N: message" lines.
    const char *lines = nullptr; ///< What the file in memory holds after it; none: `content`.
  } const rows[] = {
      {"separators", "MVL*t*p: 30\nMVL.t.q:31\nMVL.t*r:32\n",
       "MVL*t*p: 30\nMVL*t*q: 31\nMVL*t*r: 32\n"},
      {"blanks", " \t MVL*prover*time out :  30  \t\n", "MVL*prover*time out : 30\n"},
      {"separators in resource name", "MVL*t*a.b*c: 1\n", "MVL*t*a.b*c: 1\n"},
      {"colon and marks in value", "MVL*t*r: a:b*c.d!e\n", "MVL*t*r: a:b*c.d!e\n"},
      {"blanks in value", "MVL*t*r: a \t b\n", "MVL*t*r: a \t b\n"},
      {"colon in tool name", "MVL*t:u*r: v\n", "MVL*t:u*r: v\n"},
      {"empty names", "MVL***: v\nMVL**:w\n", "MVL***: v\nMVL**: w\n"},
      {"carriage return stays", "MVL*t*r: v\r\n", "MVL*t*r: v\r\n"},
      {"no definitions",
       "mvl*t*r: 1\nMVLt*r: 1\nMVL\nMV\nM\nx MVL*t*r: 1\n  ! MVL*t*r: 1\nMVL-t*r: 1\n", ""},
      {"errors leave no trace",
       "\nMVL*\nMVL*t\nMVL*t*r: 1\nMVL*t*\nMVL*t*s\nMVL*t*s:\nMVL*t*s:  \t \n", "MVL*t*r: 1\n",
       "2: tool name not found\n3: tool name not found\n5: resource name or colon not found\n"
       "6: resource name or colon not found\n7: resource value not found\n"
       "8: resource value not found\n"},

      {"continued", "MVL*t*r: \\\n   value\n", "MVL*t*r: value\n"},
      {"continued twice", "MVL*t*r:\\\n \\ignored\n\tvalue \nMVL*t*q: 1\n",
       "MVL*t*r: value\nMVL*t*q: 1\n"},
      {"text after the backslash", "MVL*t*r: \\x\nvalue\n", "MVL*t*r: value\n"},
      {"value line is not read again", "MVL*t*r: \\\n! MVL*t*q: 1\n", "MVL*t*r: ! MVL*t*q: 1\n"},
      {"continued to the end", "MVL*q*q: 1\nMVL*t*r: \\\n\\\n", "MVL*q*q: 1\n",
       "2: resource value not found\n"},
      {"continued by a blank line", "MVL*t*r: \\\n  \nMVL*q*q: 1\n", "MVL*q*q: 1\n",
       "1: resource value not found\n"},

      {"backslash ends the value", "MVL*t*r: abc \\\nMVL*t*q: 1\n", "MVL*t*r: abc\nMVL*t*q: 1\n"},
      {"only the last backslash goes", "MVL*t*r: a\\\\\n", "MVL*t*r: a\\\n"},
      {"backslash before blanks stays", "MVL*t*r: a\\ \n", "MVL*t*r: a\\\n"},

      {"the last definition wins", "MVL*t*r: 1\n\nMVL*t*s: 5\nMVL.t.r: 2\n",
       "MVL*t*r: 2\nMVL*t*s: 5\n", "", "\nMVL*t*s: 5\nMVL.t.r: 2\n"},
      {"redefined continued", "MVL*t*r: \\\n\\\n1\nrest\nMVL*t*r: 2\n", "MVL*t*r: 2\n", "",
       "rest\nMVL*t*r: 2\n"},
      {"redefined by continued", "MVL*t*r: 1\nMVL*t*r: \\\n2\n", "MVL*t*r: 2\n", "",
       "MVL*t*r: \\\n2\n"},
      {"names differ by case and blank", "MVL*t*r: 1\nMVL*T*r: 2\nMVL*t*r : 3\n",
       "MVL*t*r: 1\nMVL*t*r : 3\nMVL*T*r: 2\n"},
  };
  const QString file = directory.path("general"_s) + QLatin1Char(':');
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    clear();
    testing::internal::CaptureStderr();
    load(RESOURCE_SOURCE_MORVANEL, "general", row.content);
    QString errors = QString::fromStdString(testing::internal::GetCapturedStderr());
    errors.remove(file).remove("Resource syntax error: "_s);
    EXPECT_EQ(errors.toStdString(), row.errors);
    EXPECT_EQ(printed(), row.resources);
    EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), row.lines ? row.lines : row.content);
    checkLinks();
  }
}

TEST_F(SyntaxAnalysis, CommentsGoToTheNextDefinitionAndGoWithIt) {
  load(RESOURCE_SOURCE_MORVANEL, "general",
       "! a\n\n! b\nMVL*\nother\nMVL*t*r: 1\n! c\nMVL*t*s: 2\n! d\n");
  delete_resource("t", "r");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "\nMVL*\nother\n! c\nMVL*t*s: 2\n! d\n");
  delete_resource("t", "s");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "\nMVL*\nother\n! d\n");
  checkLinks();
}

TEST_F(SyntaxAnalysis, AContinuationThatOverlapsTheOldOneKeepsItsLines) {
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
