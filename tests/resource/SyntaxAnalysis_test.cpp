// Files as they may be written, and what is read from them.

#include "ResourceFixture.h"

namespace {

using SyntaxAnalysis = ResourceTest;

TEST_F(SyntaxAnalysis, ReadsAFile) {
  struct {
    const char *name;
    const char *content;
    const char *printed;
    const char *errors = "";     ///< "N: message" lines.
    const char *lines = nullptr; ///< What the file in memory holds after it; none: `content`.
  } const rows[] = {
      {"separators", "MVL*t*p: 30|MVL.t.q:31|\tMVL.t*r:32|",
       "MVL*t*p: 30\nMVL*t*q: 31\nMVL*t*r: 32\n"},
      {"blanks", " \t MVL*prover*time out :  30 \t a  \t|", "MVL*prover*time out : 30 \t a\n"},
      {"marks", "MVL*t:u*a.b*c: a:b*c.d!e\r|", "MVL*t:u*a.b*c: a:b*c.d!e\r\n"},
      {"no definitions", "mvl*t*r: 1|MVLt*r: 1|MVL|MV|M|x MVL*t*r: 1|  ! MVL*t*r: 1|MVL-t*r: 1|",
       ""},
      {"errors leave no trace", "|MVL*|MVL*t|MVL*t*r: 1|MVL*t*|MVL*t*s|MVL*t*s:|MVL*t*s:  \t |",
       "MVL*t*r: 1\n",
       "2: tool name not found\n3: tool name not found\n5: resource name or colon not found\n"
       "6: resource name or colon not found\n7: resource value not found\n"
       "8: resource value not found\n"},
      {"continued", "MVL*t*r:\\| \\ignored|\t! value |MVL*t*q: \\x| 1|",
       "MVL*t*r: ! value\nMVL*t*q: 1\n"},
      {"value line is not read again", "MVL*t*r: \\|MVL*t*q: 1|", "MVL*t*r: MVL*t*q: 1\n"},
      {"continued to the end", "MVL*q*q: 1|MVL*t*r: \\|\\|", "MVL*q*q: 1\n",
       "2: resource value not found\n"},
      {"backslash ends the value", "MVL*t*r: abc \\|MVL*t*q: a\\\\|MVL*t*s: a\\ |",
       "MVL*t*r: abc\nMVL*t*q: a\\\nMVL*t*s: a\\\n"},
      {"the last definition wins", "MVL*t*r: 1||MVL*t*s: 5|MVL.t.r: 2|", "MVL*t*r: 2\nMVL*t*s: 5\n",
       "", "|MVL*t*s: 5|MVL.t.r: 2|"},
      {"redefined continued", "MVL*t*r: \\|\\|1|rest|MVL*t*r: 2|MVL*t*r: \\|3|", "MVL*t*r: 3\n", "",
       "rest|MVL*t*r: \\|3|"},
      {"names differ by case and blank", "MVL*t*r: 1|MVL*T*r: 2|MVL*t*r : 3|",
       "MVL*t*r: 1\nMVL*t*r : 3\nMVL*T*r: 2\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    clear();
    QString errors = QString::fromStdString(messagesOf([&] { load(row.content); }));
    errors.remove(directory.path() + QString::fromUtf8("/general:"));
    EXPECT_EQ(errors.remove(QString::fromUtf8("Resource syntax error: ")).toStdString(),
              row.errors);
    EXPECT_EQ(printed(), row.printed);
    EXPECT_EQ(files(), std::string("G:") + (row.lines ? row.lines : row.content));
  }
}

} // namespace
