// All that is known of single goals: a row for everything that has a say in the status, and what it
// says for or against the goal.

#include "commands/Commands.h"
#include "commands/Names.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "model/Goals.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QJsonArray>

#include <algorithm>

using namespace kelvarune;

namespace {

bool contains(const std::vector<driver_name_t> &drivers, const driver_name_t &name) {
  return std::any_of(drivers.begin(), drivers.end(), [&name](const driver_name_t &driver) {
    return !(driver < name) && !(name < driver);
  });
}

const QString &effectOfProof(pos::status_t verdict) {
  static const QString reliable = "proves it"_s;
  static const QString unreliable = "proves it, unreliably"_s;
  return verdict == pos::UNRELIABLY_PROVED ? unreliable : reliable;
}

// Of a driver of a mechanism that says `verdict`.
QString effectOf(const driver_name_t &driver, pos::status_t verdict, const goal_t &goal) {
  if (contains(goal.disprovedBy, driver))
    return "disproves it"_s;
  if (contains(goal.uncountedProofs, driver))
    return "not counted"_s;
  if (!contains(goal.provedBy, driver))
    return QString();
  const bool alone = goal.onlyProver && contains({*goal.onlyProver}, driver);
  return alone ? "proves it, alone"_s : effectOfProof(verdict);
}

// A mechanism that says what none of its drivers says has an effect of its own.
QString effectOf(const QDomElement &mechanism, const goal_t &goal) {
  const QString name = mechanism.attribute(pos::ATTR_NAME);
  const auto isOfMechanism = [&name](const driver_name_t &driver) {
    return driver.mechanism == name;
  };
  const auto none = [&](const std::vector<driver_name_t> &drivers) {
    return std::none_of(drivers.begin(), drivers.end(), isOfMechanism);
  };
  const pos::status_t status = pos::statusOf(mechanism);
  if (status == pos::DISPROVED && none(goal.disprovedBy))
    return "disproves it"_s;
  return pos::isProof(status) && none(goal.provedBy) ? effectOfProof(status) : QString();
}

QString verdictOfIapa(const QDomElement &goal) {
  return goal.firstChildElement(pos::TAG_IAPA)
      .firstChildElement(pos::TAG_STATUS)
      .attribute(pos::ATTR_VALUE);
}

QString effectOfIapa(const QString &verdict) {
  if (verdict == pos::ATTR_VALUE_INVALID)
    return "disproves it"_s;
  return verdict == pos::ATTR_VALUE_VALID ? effectOfProof(pos::UNRELIABLY_PROVED) : QString();
}

/// A goal as the document and as the model have it.
struct shown_goal_t {
  QDomElement element;
  goal_t goal;
};

QString goalText(const shown_goal_t &shownGoal) {
  const auto &[element, goal] = shownGoal;
  Table table("lll");
  table.add({"  own proof"_s, shown(goal.proofState), goal.provedByItself ? "proves it"_s : ""_s});
  const QString iapa = verdictOfIapa(element);
  if (!iapa.isEmpty())
    table.add({"  iapa"_s, shown(iapa), effectOfIapa(iapa)});
  for (const QDomElement &mechanism : xml::children(element, pos::TAG_MECHANISM)) {
    const QString name = mechanism.attribute(pos::ATTR_NAME);
    table.add(
        {"  "_s + shown(name), statusCell(pos::statusOf(mechanism)), effectOf(mechanism, goal)});
    for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
      const QString driverName = driver.attribute(pos::ATTR_NAME);
      table.add({"    "_s + shown(driverName), statusCell(pos::statusOf(driver)),
                 effectOf({name, driverName}, pos::statusOf(mechanism), goal)});
    }
  }
  return textOf(goal.place) + ": "_s + coloured(statusCell(goal.status)) + QLatin1Char('\n') +
         table.text();
}

QJsonArray jsonOfMechanisms(const QDomElement &goal) {
  QJsonArray mechanisms;
  for (const QDomElement &mechanism : xml::children(goal, pos::TAG_MECHANISM)) {
    QJsonArray drivers;
    for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER))
      drivers.append(QJsonObject{{"name"_s, driver.attribute(pos::ATTR_NAME)},
                                 {"status"_s, pos::strOfProofStatus(pos::statusOf(driver))}});
    mechanisms.append(QJsonObject{{"name"_s, mechanism.attribute(pos::ATTR_NAME)},
                                  {"status"_s, pos::strOfProofStatus(pos::statusOf(mechanism))},
                                  {"drivers"_s, drivers}});
  }
  return mechanisms;
}

QJsonObject goalJson(const shown_goal_t &shownGoal) {
  QJsonObject object = jsonOf(shownGoal.goal);
  const QString iapa = verdictOfIapa(shownGoal.element);
  object["iapa"_s] = iapa.isEmpty() ? QJsonValue() : QJsonValue(iapa);
  object["mechanisms"_s] = jsonOfMechanisms(shownGoal.element);
  return object;
}

} // namespace

int commands::show(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  const std::vector<pos::goal_t> elements = pos::goalsOf(document);
  const std::vector<goal_t> goals = goalsOf(document);
  QStringList texts;
  QJsonArray array;
  for (const pos::goal_name_t &name : options.goals) {
    const std::vector<std::size_t> found = goalsNamed(name, elements, options.file());
    if (found.empty())
      return EXIT_REFUSED;
    for (const std::size_t index : found) {
      const shown_goal_t shownGoal = {elements[index].element, goals[index]};
      texts.append(goalText(shownGoal));
      array.append(goalJson(shownGoal));
    }
  }
  if (options.json)
    return finishJson("show", options.file(), {{"goals"_s, array}});
  return finish(texts.join(QLatin1Char('\n')).toUtf8());
}
