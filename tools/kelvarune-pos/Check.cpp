// Unlike the library's own check, which stops at the first goal, this one goes on, and takes a
// status text without meaning for a finding like any other: it is what one looks for here.

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "PosDocument.h"
#include "text/Literals.h"

#include <QJsonArray>

using namespace kelvarune;

namespace {

QString quoted(const QString &text) {
  return QLatin1Char('"') + text + QLatin1Char('"');
}

std::vector<fault_t> findingsOf(const QDomElement &goal, const place_t &place) {
  std::vector<fault_t> findings = faultsOf(goal, place, use_t::DERIVING);
  if (!findings.empty())
    return findings;
  const pos::status_t expected = pos::expectedStatus(goal);
  if (pos::statusOf(goal) != expected)
    findings.push_back({place, goal.lineNumber(), goal.columnNumber(),
                        "the goal has status "_s +
                            quoted(goal.attribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED)) +
                            ", from its parts follows "_s +
                            quoted(pos::strOfProofStatus(expected))});
  return findings;
}

QJsonArray jsonOf(const std::vector<fault_t> &findings) {
  QJsonArray array;
  for (const fault_t &finding : findings)
    array.append(QJsonObject{{"tag"_s, finding.place.tag},
                             {"number"_s, finding.place.number},
                             {"obligation"_s, finding.place.obligation},
                             {"line"_s, finding.line},
                             {"column"_s, finding.column},
                             {"message"_s, finding.text}});
  return array;
}

// As compilers write them, so that editors find the places.
QString textOf(const std::vector<fault_t> &findings, const QString &path) {
  QString text;
  for (const fault_t &finding : findings)
    text += shown(path) + QLatin1Char(':') + QString::number(finding.line) + QLatin1Char(':') +
            QString::number(finding.column) + ": "_s + coloured({finding.place.text(), "1;31"}) +
            ": "_s + shown(finding.text) + QLatin1Char('\n');
  return text;
}

} // namespace

int commands::check(const options_t &options) {
  QDomDocument document;
  if (!readPosDocument(options.file(), document))
    return EXIT_REFUSED;
  std::vector<fault_t> findings;
  int total = 0;
  forEachPlacedGoal(document, [&](const QDomElement &goal, const place_t &place) {
    ++total;
    for (fault_t &finding : findingsOf(goal, place))
      findings.push_back(std::move(finding));
  });
  const int status = findings.empty() ? EXIT_DONE : EXIT_FOUND;
  if (options.json)
    return finishJson("check", options.file(),
                      {{"goals"_s, total}, {"violations"_s, jsonOf(findings)}}, status);
  const QString summary = shown(options.file()) + ": "_s + counted(total, "goal") + ", "_s +
                          counted(static_cast<int>(findings.size()), "violation") +
                          QLatin1Char('\n');
  return finish((textOf(findings, options.file()) + summary).toUtf8(), status);
}
