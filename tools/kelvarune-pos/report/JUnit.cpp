// The goals as a test run, for CI servers that know nothing else: an obligation is a suite, a goal
// a case. An unreliable proof is no pass; it shows as an unproved goal does, and says why.

#include "report/JUnit.h"

#include "front/Utils.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QXmlStreamWriter>

#include <algorithm>

using namespace kelvarune;

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
  JUnitWriter(QByteArray &bytes, const QString &path, bool unprovedFails)
      : xml(&bytes), unprovedFails(unprovedFails),
        component(xmlText(QString::fromStdString(baseNameOfPath(path.toStdString())))) {}

  void write(const goals_t &goals) {
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement("testsuites"_s);
    xml.writeAttribute("name"_s, component);
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
    xml.writeAttribute("tests"_s, QString::number(last - first));
    xml.writeAttribute("failures"_s, QString::number(failed));
    xml.writeAttribute("errors"_s, "0"_s);
    xml.writeAttribute("skipped"_s, QString::number(skipped));
    xml.writeAttribute("time"_s, "0"_s);
  }

  void writeSuite(goals_t::const_iterator first, goals_t::const_iterator last) {
    xml.writeStartElement("testsuite"_s);
    xml.writeAttribute("name"_s, xmlText(first->place.tag));
    writeCounts(first, last);
    std::for_each(first, last, [this](const goal_t &goal) { writeCase(goal); });
    xml.writeEndElement();
  }

  void writeCase(const goal_t &goal) {
    xml.writeStartElement("testcase"_s);
    xml.writeAttribute("classname"_s, component + QLatin1Char('.') + xmlText(goal.place.tag));
    xml.writeAttribute("name"_s, textOf(goal.place));
    xml.writeAttribute("time"_s, "0"_s);
    if (isSkipped(goal))
      writeOutcome("skipped"_s, goal);
    if (isFailed(goal))
      writeOutcome("failure"_s, goal);
    const QString proofs = proofsOf(goal);
    if (!proofs.isEmpty())
      xml.writeTextElement("system-out"_s, xmlText(proofs));
    xml.writeEndElement();
  }

  void writeOutcome(const QString &element, const goal_t &goal) {
    const QString status = pos::strOfProofStatus(goal.status);
    xml.writeStartElement(element);
    xml.writeAttribute("message"_s, textOf(goal.place) + ": "_s + status);
    if (element == "failure"_s)
      xml.writeAttribute("type"_s, status);
    xml.writeEndElement();
  }

  QXmlStreamWriter xml;
  bool unprovedFails;
  QString component;
};

} // namespace

QByteArray junitReport(const QString &path, const goals_t &goals, bool unprovedFails) {
  QByteArray bytes;
  JUnitWriter(bytes, path, unprovedFails).write(goals);
  return bytes;
}
