#include "director/Arguments.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *ABSENT = nullptr;

QString textOf(const char *text) {
  return text ? QString::fromUtf8(text) : QString();
}

std::string joined(const QStringList &arguments) {
  std::string text;
  for (const QString &argument : arguments)
    text += "[" + argument.toStdString() + "]";
  return text;
}

TEST(Arguments, TwoParameterRules) {
  struct row_t {
    const char *name;
    const char *separator;
    const char *value;
    const char *writer;
    const char *prover;
  };
  const row_t rows[] = {
      {"-t", " ", "30", "[-t][30]", "[-t][30]"},
      {"-t", "=", "30", "[-t=30]", "[-t=30]"},
      {"-t", "", "30", "[-t30]", "[-t][30]"},
      {"-t", "  ", "30", "[-t  30]", "[-t][30]"},
      {"-t", "\t", "30", "[-t\t30]", "[-t][30]"},
      {"-t", " : ", "30", "[-t : 30]", "[-t : 30]"},
      {"-t", " ", ABSENT, "[-t]", "[-t]"},
      {"-t", "=", ABSENT, "[-t]", "[-t]"},
      {"-t", " ", "", "[-t]", "[-t][]"},
      {"-t", "=", "", "[-t]", "[-t=]"},
      {ABSENT, " ", "30", "[30]", "[30]"},
      {ABSENT, "=", "30", "[30]", "[30]"},
      {"", " ", "30", "[30]", "[][30]"},
      {"", "=", "30", "[30]", "[=30]"},
      {ABSENT, " ", ABSENT, "[]", ""},
      {"", " ", "", "[]", "[][]"},
      {ABSENT, " ", "in=${file}", "[in=${file}]", "[in=/d/x.po2]"},
      {"${file}", "=", "${file}${file}", "[${file}=${file}${file}]", "[/d/x.po2=/d/x.po2/d/x.po2]"},
      {"-f", " ", "${FILE}", "[-f][${FILE}]", "[-f][${FILE}]"},
  };
  for (const row_t &row : rows) {
    mechanism::param_t param;
    param.name = textOf(row.name);
    param.separator = textOf(row.separator);
    param.value = textOf(row.value);
    SCOPED_TRACE(std::string(row.name ? row.name : "absent") + "|" + row.separator + "|" +
                 (row.value ? row.value : "absent"));
    mechanism::tool_t tool;
    tool.parameters = {param};
    QStringList writer;
    addParametersBits(writer, tool);
    EXPECT_EQ(joined(writer), row.writer);
    QStringList prover;
    append_param(param, prover, QStringLiteral("/d/x.po2"));
    EXPECT_EQ(joined(prover), row.prover);
  }
}

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
  EXPECT_EQ(secondaryFileName(QStringLiteral("c"), QStringLiteral("m"), QStringLiteral("d"), {},
                              QStringLiteral("smt2"))
                .toStdString(),
            "c_m_d.smt2");
}

} // namespace
