// The goals as a test run, for CI servers that know nothing else: a goal is a case. An unreliable
// proof is no pass; it shows as an unproved goal does. What did not pass says which driver
// concluded what. Servers check reports against a schema, so there is nothing in them that its
// strictest version does not know.

#include "report/JUnit.h"

#include "front/Utils.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QBuffer>
#include <QXmlStreamWriter>

#include <algorithm>
#include <numeric>
#include <optional>

using namespace kelvarune;

namespace {

/// A goal as the model and as the document have it.
struct case_t {
  goal_t goal;
  QDomElement element;
  double seconds = 0;
  std::optional<pos::status_t> lost = {}; ///< what it was, when that was more
};

using cases_t = std::vector<case_t>;

// XML has no place for control characters, not even escaped.
QString xmlText(QString text) {
  const auto isForbidden = [](QChar c) {
    return (c < QLatin1Char(' ') && c != QLatin1Char('\t') && c != QLatin1Char('\n')) ||
           c.unicode() >= 0xFFFE;
  };
  std::replace_if(text.begin(), text.end(), isForbidden, QChar(QChar::ReplacementCharacter));
  return text;
}

bool disproves(const goal_t &goal, const driver_name_t &name) {
  return std::any_of(
      goal.disprovedBy.begin(), goal.disprovedBy.end(),
      [&name](const driver_name_t &driver) { return !(driver < name) && !(name < driver); });
}

/// The drivers that left this status and no verdict on which the goal's rests.
std::vector<driver_name_t> driversWith(pos::status_t status, const case_t &testCase) {
  std::vector<driver_name_t> found;
  for (const QDomElement &mechanism : xml::children(testCase.element, pos::TAG_MECHANISM)) {
    for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
      const driver_name_t name = {mechanism.attribute(pos::ATTR_NAME),
                                  driver.attribute(pos::ATTR_NAME)};
      if (pos::statusOf(driver) == status && !disproves(testCase.goal, name))
        found.push_back(name);
    }
  }
  return found;
}

/// What was concluded on a goal, and by whom: a line for each verdict.
QString verdictsOf(const case_t &testCase) {
  const goal_t &goal = testCase.goal;
  QStringList lines;
  if (testCase.lost)
    lines.append("Was "_s + pos::strOfProofStatus(*testCase.lost));
  const auto add = [&lines](const QString &verdict, const std::vector<driver_name_t> &drivers) {
    if (!drivers.empty())
      lines.append(verdict + namesOf(drivers, ", "_s));
  };
  if (goal.provedByItself)
    lines.append("Proved by own "_s + goal.proofState);
  const QString iapa = testCase.element.firstChildElement(pos::TAG_IAPA)
                           .firstChildElement(pos::TAG_STATUS)
                           .attribute(pos::ATTR_VALUE);
  if (!iapa.isEmpty())
    lines.append("iapa: "_s + iapa);
  add("Disproved by "_s, goal.disprovedBy);
  add("Proved by "_s, goal.provedBy);
  add("Proved, but not counted: "_s, goal.uncountedProofs);
  add("Disproved, but not counted: "_s, driversWith(pos::DISPROVED, testCase));
  add("Unknown: "_s, driversWith(pos::UNKNOWN, testCase));
  add("Unproved: "_s, driversWith(pos::UNPROVED, testCase));
  return lines.join(QLatin1Char('\n'));
}

/// Writes one report.
class JUnitWriter {
public:
  JUnitWriter(QByteArray &bytes, const QString &component, bool unprovedFails)
      : xml(&bytes), unprovedFails(unprovedFails), component(xmlText(component)) {
    xml.setAutoFormatting(true);
  }

  void write(const cases_t &cases) {
    xml.writeStartDocument();
    xml.writeStartElement("testsuites"_s);
    xml.writeAttribute("name"_s, component);
    writeCounts(cases.begin(), cases.end());
    for (auto first = cases.begin(); first != cases.end();) {
      const auto last = std::find_if(first, cases.end(), [first](const case_t &other) {
        return other.goal.place.obligation != first->goal.place.obligation;
      });
      writeSuite(first->goal.place.tag, first, last, {});
      first = last;
    }
    xml.writeEndDocument();
  }

  /// The component as one suite.
  junit_suite_t writeComponent(const cases_t &cases, const QStringList &faults) {
    writeSuite(component, cases.begin(), cases.end(), faults);
    return {{},
            static_cast<int>(cases.size()) + faults.size(),
            failuresIn(cases.begin(), cases.end()),
            faults.size(),
            secondsOf(cases.begin(), cases.end())};
  }

private:
  using iterator_t = cases_t::const_iterator;

  bool isFailed(const case_t &c) const {
    return c.goal.status == pos::DISPROVED || c.lost ||
           (unprovedFails && c.goal.status != pos::PROVED);
  }
  bool isSkipped(const case_t &c) const { return c.goal.status != pos::PROVED && !isFailed(c); }

  // Milliseconds: the strictest version takes no more digits.
  void writeTime(double seconds) {
    xml.writeAttribute("time"_s, seconds == 0 ? "0"_s : QString::number(seconds, 'f', 3));
  }

  int failuresIn(iterator_t first, iterator_t last) const {
    return static_cast<int>(
        std::count_if(first, last, [this](const case_t &c) { return isFailed(c); }));
  }
  static double secondsOf(iterator_t first, iterator_t last) {
    return std::accumulate(first, last, 0.0,
                           [](double sum, const case_t &c) { return sum + c.seconds; });
  }

  void writeCounts(iterator_t first, iterator_t last, int errors = 0) {
    xml.writeAttribute("tests"_s, QString::number(last - first + errors));
    xml.writeAttribute("failures"_s, QString::number(failuresIn(first, last)));
    xml.writeAttribute("errors"_s, QString::number(errors));
    writeTime(secondsOf(first, last));
  }

  void writeSuite(const QString &name, iterator_t first, iterator_t last,
                  const QStringList &faults) {
    const auto skipped =
        std::count_if(first, last, [this](const case_t &c) { return isSkipped(c); });
    xml.writeStartElement("testsuite"_s);
    xml.writeAttribute("name"_s, xmlText(name));
    writeCounts(first, last, faults.size());
    xml.writeAttribute("skipped"_s, QString::number(skipped)); // not known of the whole: wanted
    for (const QString &fault : faults)
      writeFault(xmlText(shown(fault)));
    std::for_each(first, last, [this](const case_t &c) { writeCase(c); });
    xml.writeEndElement();
  }

  void writeFault(const QString &fault) {
    xml.writeStartElement("testcase"_s);
    xml.writeAttribute("classname"_s, component);
    xml.writeAttribute("name"_s, "can be read"_s);
    xml.writeEmptyElement("error"_s);
    xml.writeAttribute("type"_s, "Unreadable"_s);
    xml.writeAttribute("message"_s, fault);
    xml.writeEndElement();
  }

  void writeCase(const case_t &c) {
    xml.writeStartElement("testcase"_s);
    xml.writeAttribute("classname"_s, component + QLatin1Char('.') + xmlText(c.goal.place.tag));
    xml.writeAttribute("name"_s, textOf(c.goal.place));
    writeTime(c.seconds);
    const QString proofs = proofsOf(c.goal);
    if (isSkipped(c))
      writeOutcome("skipped"_s, c);
    else if (isFailed(c))
      writeOutcome("failure"_s, c);
    else if (!proofs.isEmpty())
      xml.writeTextElement("system-out"_s, xmlText(proofs));
    xml.writeEndElement();
  }

  void writeOutcome(const QString &element, const case_t &c) {
    const QString status = pos::strOfProofStatus(c.goal.status);
    xml.writeStartElement(element);
    const QString lost = c.lost ? ", was "_s + pos::strOfProofStatus(*c.lost) : QString();
    xml.writeAttribute("type"_s, status);
    xml.writeAttribute("message"_s, xmlText(textOf(c.goal.place)) + ": "_s + status + lost);
    xml.writeCharacters(xmlText(verdictsOf(c)));
    xml.writeEndElement();
  }

  QXmlStreamWriter xml;
  bool unprovedFails;
  QString component;
};

cases_t casesOf(const QDomDocument &document, const std::vector<goal_t> &goals,
                const seconds_t &seconds) {
  cases_t cases;
  const std::vector<pos::goal_t> elements = pos::goalsOf(document);
  for (std::size_t i = 0; i < goals.size(); ++i) {
    const auto took = seconds.find({goals[i].place.tag, goals[i].place.number});
    cases.push_back({goals[i], elements[i].element, took == seconds.end() ? 0 : took->second});
  }
  return cases;
}

} // namespace

QByteArray junitReport(const QString &path, const QDomDocument &document,
                       const std::vector<goal_t> &goals, const seconds_t &seconds,
                       bool unprovedFails) {
  const QString component = QString::fromStdString(baseNameOfPath(path.toStdString()));
  QByteArray bytes;
  JUnitWriter(bytes, component, unprovedFails).write(casesOf(document, goals, seconds));
  return bytes;
}

junit_suite_t junitSuite(const component_t &component, const QDomDocument &document,
                         const std::vector<goal_t> &goals, const seconds_t &seconds,
                         bool unprovedFails) {
  cases_t cases = casesOf(document, goals, seconds);
  std::map<std::pair<int, int>, pos::status_t> lost; // by obligation and number
  for (const change_t &change : component.changes) {
    if (change.kind == difference_kind_t::LOST && change.after)
      lost[{change.place.obligation, change.place.number}] = *change.before;
  }
  for (case_t &testCase : cases) {
    const auto found = lost.find({testCase.goal.place.obligation, testCase.goal.place.number});
    if (found != lost.end())
      testCase.lost = found->second;
  }
  QByteArray bytes;
  junit_suite_t suite =
      JUnitWriter(bytes, component.name, unprovedFails).writeComponent(cases, component.faults);
  suite.xml = bytes;
  return suite;
}

QByteArray junitReport(const QString &name, const std::vector<junit_suite_t> &suites) {
  junit_suite_t sum;
  for (const junit_suite_t &suite : suites) {
    sum.tests += suite.tests;
    sum.failures += suite.failures;
    sum.errors += suite.errors;
    sum.seconds += suite.seconds;
  }
  QBuffer bytes;
  bytes.open(QIODevice::WriteOnly);
  QXmlStreamWriter xml(&bytes);
  xml.writeStartDocument();
  xml.writeCharacters("\n"_s);
  xml.writeStartElement("testsuites"_s);
  xml.writeAttribute("name"_s, xmlText(name));
  xml.writeAttribute("tests"_s, QString::number(sum.tests));
  xml.writeAttribute("failures"_s, QString::number(sum.failures));
  xml.writeAttribute("errors"_s, QString::number(sum.errors));
  xml.writeAttribute("time"_s, QString::number(sum.seconds, 'f', 3));
  xml.writeCharacters(QString()); // ends the start tag
  for (const junit_suite_t &suite : suites)
    bytes.write(suite.xml);
  xml.writeCharacters("\n"_s);
  xml.writeEndDocument();
  return bytes.data();
}
