// The text of a first project file. Keys that only some projects need stand in it as comments that
// can be uncommented as they are.

#include "project/Survey.h"
#include "text/Literals.h"

#include <QRegularExpression>

namespace kelvarune::project {

namespace {

QString quoted(const QString &text) {
  QString result;
  for (const QChar c : text) {
    if (c == QLatin1Char('"') || c == QLatin1Char('\\'))
      result += QLatin1Char('\\') + QString(c);
    else if (c < QLatin1Char(' ') || c == QChar(0x7f))
      result += "\\u%1"_s.arg(c.unicode(), 4, 16, QLatin1Char('0'));
    else
      result += c;
  }
  return QLatin1Char('"') + result + QLatin1Char('"');
}

QString key(const QString &name) {
  static const QRegularExpression bare("^[A-Za-z0-9_-]+$"_s);
  return bare.match(name).hasMatch() ? name : quoted(name);
}

QString list(const QStringList &texts) {
  QStringList words;
  for (const QString &text : texts)
    words << quoted(text);
  return QLatin1Char('[') + words.join(", "_s) + QLatin1Char(']');
}

QString linesOf(const QStringList &texts) {
  QString lines;
  for (const QString &text : texts)
    lines += "  "_s + quoted(text) + ",\n"_s;
  return "[\n"_s + lines + "]\n"_s;
}

QString mechanismsOf(const survey_t &survey) {
  const bool isLeft = survey.areScriptsOnly || survey.mechanisms.isEmpty();
  const QString line =
      "mechanisms = "_s +
      list(survey.mechanisms.isEmpty() ? QStringList("portfolio"_s) : survey.mechanisms) + "\n"_s;
  return "# Files with descriptions of mechanisms, or names of installed ones, in the order in "
         "which\n"
         "# they are played. Without any, scripts are played by the portfolio for their language.\n"_s +
         (isLeft ? "# "_s : QString()) + line;
}

QString sectionOf(const survey_t::made_t &made) {
  return "\n[component.%1]\n"_s.arg(key(made.name)) +
         (made.pog.isEmpty() ? QString() : "pog = "_s + quoted(made.pog) + "\n"_s) +
         "sources = "_s + list(made.sources) + "\n"_s;
}

constexpr char HEAD[] =
    "# What kelvarune-play plays and kelvarune-pos reports on; see kelvarune.toml(5). Paths are\n"
    "# relative to this file.\n\n";

constexpr char COMPONENTS[] = "\n# Pairs NAME.pog and NAME.pos, by one of the files, and "
                              "directories of scripts, in this order.\n"
                              "# Patterns have *, ?, [...] and ** for directories of any depth.\n";

constexpr char REST[] = R"(
# How many provers run at once: "auto" stands for the number of processors.
jobs = "auto"

# Limits of every prover, in seconds and bytes.
# time-limit = 30
# memory-limit = "2G"

# Where tools are looked for first, and resource files that tell where they are.
# installdir = ["bin"]
# resources = ["tools.res"]

# A directory for the answers of provers, so that none is asked the same twice.
# cache = ".kelvarune-cache"

# Where kelvarune-pos report puts its pages.
# reports = "reports"

# A section says what is different for one component, or makes one: with pog, pos, sources,
# mechanisms, installdir, resources, time-limit, memory-limit, cache, skip.
)";

} // namespace

QByteArray draftOf(const survey_t &survey) {
  QString text = QLatin1String(HEAD) + "name = "_s + quoted(survey.name) + "\n"_s +
                 QLatin1String(COMPONENTS) + "components = "_s + linesOf(survey.components) +
                 "\n"_s + mechanismsOf(survey) + QLatin1String(REST);
  for (const survey_t::made_t &made : survey.sections)
    text += sectionOf(made);
  return text.toUtf8();
}

} // namespace kelvarune::project
