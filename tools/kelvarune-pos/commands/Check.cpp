// Unlike the library's own check, which stops at the first goal, this one goes on, and takes a
// status text without meaning for a finding like any other: it is what one looks for here.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QJsonArray>

using namespace kelvarune;

namespace {

QJsonArray violationsOf(const std::vector<pos::fault_t> &findings) {
  QJsonArray array;
  for (const pos::fault_t &finding : findings)
    array.append(QJsonObject{{"tag"_s, finding.place.tag},
                             {"number"_s, finding.place.number},
                             {"obligation"_s, finding.place.obligation},
                             {"line"_s, finding.line},
                             {"column"_s, finding.column},
                             {"message"_s, textOf(finding)}});
  return array;
}

// As compilers write them, so that editors find the places.
QString linesOf(const std::vector<pos::fault_t> &findings, const QString &path) {
  QString text;
  for (const pos::fault_t &finding : findings)
    text += placed(shown(path), finding.line, finding.column) +
            coloured({textOf(finding.place), "1;31"}) + ": "_s + shown(textOf(finding)) +
            QLatin1Char('\n');
  return text;
}

/// A goal that is not proved. Its status may be a text without meaning.
struct unproved_t {
  pos::goal_t goal;
  QString status;
};

std::vector<unproved_t> unprovedOf(const std::vector<pos::goal_t> &goals) {
  const auto &known = pos::proofStatusOfAttrValue_dict();
  std::vector<unproved_t> unproved;
  for (const pos::goal_t &goal : goals) {
    const QString text = goal.element.attribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    const auto status = known.find(text);
    if (status == known.end() || status->second != pos::PROVED)
      unproved.push_back({goal, text});
  }
  return unproved;
}

QJsonArray jsonOfUnproved(const std::vector<unproved_t> &unproved) {
  QJsonArray array;
  for (const auto &[goal, status] : unproved) {
    QJsonObject object = jsonOf(goal.place);
    object["line"_s] = goal.element.lineNumber();
    object["column"_s] = goal.element.columnNumber();
    object["status"_s] = status;
    array.append(object);
  }
  return array;
}

QString linesOf(const std::vector<unproved_t> &unproved, const QString &path) {
  QString text;
  for (const auto &[goal, status] : unproved)
    text += placed(shown(path), goal.element.lineNumber(), goal.element.columnNumber()) +
            coloured({textOf(goal.place), "33"}) + ": not proved: "_s + shown(status) +
            QLatin1Char('\n');
  return text;
}

} // namespace

int commands::check(const options_t &options) {
  QDomDocument document;
  const std::vector<pos::fault_t> findings =
      pos::readFaults(options.file(), pos::use_t::CHECKING, document);
  if (isUnusable(findings)) {
    refuse(options.file(), findings);
    return EXIT_REFUSED;
  }
  const std::vector<pos::goal_t> goals = pos::goalsOf(document);
  const int total = static_cast<int>(goals.size());
  const std::vector<unproved_t> unproved =
      options.mustBeProved ? unprovedOf(goals) : std::vector<unproved_t>();
  const int status = findings.empty() && unproved.empty() ? EXIT_DONE : EXIT_FOUND;
  if (options.json) {
    QJsonObject json = {{"goals"_s, total}, {"violations"_s, violationsOf(findings)}};
    if (options.mustBeProved)
      json["notProved"_s] = jsonOfUnproved(unproved);
    return finishJson("check", options.file(), json, status);
  }
  const QString notProved =
      options.mustBeProved ? ", %1 not proved"_s.arg(unproved.size()) : QString();
  const QString summary = shown(options.file()) + ": "_s + counted(total, "goal") + ", "_s +
                          counted(static_cast<int>(findings.size()), "violation") + notProved +
                          QLatin1Char('\n');
  return finish(
      (linesOf(findings, options.file()) + linesOf(unproved, options.file()) + summary).toUtf8(),
      status);
}
