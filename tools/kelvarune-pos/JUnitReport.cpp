// The goals as a test run, for CI servers that know nothing else: an obligation is a suite, a goal
// a case. An unreliable proof is no pass; it shows as an unproved goal does, and says why.

#include "Commands.h"
#include "Goals.h"
#include "Options.h"
#include "Output.h"
#include "Report.h"
#include "front/Utils.h"

#include <QXmlStreamWriter>

#include <algorithm>

namespace {

using goals_t = std::vector<goal_t>;

// XML has no place for control characters, not even escaped.
QString xmlText(QString text) {
  const auto isForbidden = [](QChar c) {
    return (c < QLatin1Char(' ') && c != QLatin1Char('\t') && c != QLatin1Char('\n')) ||
           c.unicode() >= 0xFFFE;
  };
  std::replace_if(text.begin(), text.end(), isForbidden, QChar(QChar::ReplacementCharacter));
  return text;
}

/// Writes one report.
class JUnitWriter {
public:
  JUnitWriter(QByteArray &bytes, const options_t &options)
      : xml(&bytes), unprovedFails(options.unprovedFails),
        component(xmlText(QString::fromStdString(baseNameOfPath(options.file().toStdString())))) {}

  void write(const goals_t &goals) {
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuites"));
    xml.writeAttribute(QStringLiteral("name"), component);
    writeCounts(goals.begin(), goals.end());
    for (auto first = goals.begin(); first != goals.end();) {
      const auto last = std::find_if(first, goals.end(), [first](const goal_t &goal) {
        return goal.place.obligation != first->place.obligation;
      });
      writeSuite(first, last);
      first = last;
    }
    xml.writeEndDocument();
  }

private:
  bool isFailed(const goal_t &goal) const {
    return goal.status == pos::DISPROVED || (unprovedFails && goal.status != pos::PROVED);
  }
  bool isSkipped(const goal_t &goal) const { return goal.status != pos::PROVED && !isFailed(goal); }

  void writeCounts(goals_t::const_iterator first, goals_t::const_iterator last) {
    const auto failed = std::count_if(first, last, [this](const goal_t &g) { return isFailed(g); });
    const auto skipped =
        std::count_if(first, last, [this](const goal_t &g) { return isSkipped(g); });
    xml.writeAttribute(QStringLiteral("tests"), QString::number(last - first));
    xml.writeAttribute(QStringLiteral("failures"), QString::number(failed));
    xml.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
    xml.writeAttribute(QStringLiteral("skipped"), QString::number(skipped));
    xml.writeAttribute(QStringLiteral("time"), QStringLiteral("0"));
  }

  void writeSuite(goals_t::const_iterator first, goals_t::const_iterator last) {
    xml.writeStartElement(QStringLiteral("testsuite"));
    xml.writeAttribute(QStringLiteral("name"), xmlText(first->place.tag));
    writeCounts(first, last);
    std::for_each(first, last, [this](const goal_t &goal) { writeCase(goal); });
    xml.writeEndElement();
  }

  void writeCase(const goal_t &goal) {
    xml.writeStartElement(QStringLiteral("testcase"));
    xml.writeAttribute(QStringLiteral("classname"),
                       component + QLatin1Char('.') + xmlText(goal.place.tag));
    xml.writeAttribute(QStringLiteral("name"), goal.place.text());
    xml.writeAttribute(QStringLiteral("time"), QStringLiteral("0"));
    if (isSkipped(goal))
      writeOutcome(QStringLiteral("skipped"), goal);
    if (isFailed(goal))
      writeOutcome(QStringLiteral("failure"), goal);
    const QString proofs = proofsOf(goal);
    if (!proofs.isEmpty())
      xml.writeTextElement(QStringLiteral("system-out"), xmlText(proofs));
    xml.writeEndElement();
  }

  void writeOutcome(const QString &element, const goal_t &goal) {
    const QString status = pos::strOfProofStatus(goal.status);
    xml.writeStartElement(element);
    xml.writeAttribute(QStringLiteral("message"),
                       goal.place.text() + QStringLiteral(": ") + status);
    if (element == QLatin1String("failure"))
      xml.writeAttribute(QStringLiteral("type"), status);
    xml.writeEndElement();
  }

  QXmlStreamWriter xml;
  bool unprovedFails;
  QString component;
};

} // namespace

int commands::junitReport(const options_t &options) {
  goals_t goals;
  if (!readGoals(options.file(), goals))
    return EXIT_REFUSED;
  QByteArray bytes;
  JUnitWriter(bytes, options).write(goals);
  return finishReport(options, bytes);
}
