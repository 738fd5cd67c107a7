// Unlike the library's own check, which stops at the first goal, this one goes on, and takes a
// status text without meaning for a finding like any other: it is what one looks for here.

#include "commands/Commands.h"
#include "commands/Components.h"
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

/// What was found, in one file or in several.
struct findings_t {
  int goals = 0;
  QJsonArray violations;
  QJsonArray unproved;
  QString lines;
};

/// With several files each finding says in which it is.
void add(QJsonArray found, const QString &path, bool isOne, QJsonArray &all) {
  for (const QJsonValueRef &value : found) {
    QJsonObject object = value.toObject();
    if (!isOne)
      object["file"_s] = path;
    all.append(object);
  }
}

/// Adds what is found in a file. False, after refusing it, when nothing in it can be looked at.
bool checkFile(const QString &path, const options_t &options, bool isOne, findings_t &all) {
  QDomDocument document;
  const std::vector<pos::fault_t> faults = pos::readFaults(path, pos::use_t::CHECKING, document);
  if (isUnusable(faults)) {
    refuse(path, faults);
    return false;
  }
  const std::vector<pos::goal_t> goals = pos::goalsOf(document);
  all.goals += static_cast<int>(goals.size());
  add(violationsOf(faults), path, isOne, all.violations);
  all.lines += linesOf(faults, path);
  if (!options.mustBeProved)
    return true;
  const std::vector<unproved_t> unproved = unprovedOf(goals);
  add(jsonOfUnproved(unproved), path, isOne, all.unproved);
  all.lines += linesOf(unproved, path);
  return true;
}

QString summaryOf(const findings_t &found, const QString &what, const options_t &options) {
  const QString notProved =
      options.mustBeProved ? ", %1 not proved"_s.arg(found.unproved.size()) : QString();
  return what + ": "_s + counted(found.goals, "goal") + ", "_s +
         counted(found.violations.size(), "violation") + notProved + QLatin1Char('\n');
}

int finishCheck(const findings_t &found, const QString &path, const QString &what,
                const options_t &options, bool isComplete) {
  const bool isSound = found.violations.isEmpty() && found.unproved.isEmpty();
  const int status = !isComplete ? EXIT_REFUSED : isSound ? EXIT_DONE : EXIT_FOUND;
  if (!options.json)
    return finish((found.lines + summaryOf(found, what, options)).toUtf8(), status);
  QJsonObject json = {{"goals"_s, found.goals}, {"violations"_s, found.violations}};
  if (options.mustBeProved)
    json["notProved"_s] = found.unproved;
  return finishJson("check", path, json, status);
}

} // namespace

int commands::check(const options_t &options) {
  findings_t found;
  if (options.files.size() == 1) {
    if (!checkFile(options.file(), options, true, found))
      return EXIT_REFUSED;
    return finishCheck(found, options.file(), shown(options.file()), options, true);
  }
  const auto portfolio = portfolioOf(options);
  if (!portfolio)
    return EXIT_REFUSED;
  bool isComplete = true;
  for (const listed_t &component : portfolio->components)
    isComplete = checkFile(component.path, options, false, found) && isComplete;
  const QString what = counted(static_cast<int>(portfolio->components.size()), "component");
  return finishCheck(found, QString(), what, options, isComplete);
}
