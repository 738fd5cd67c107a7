// What the model says, in words.

#include "output/Words.h"

#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

QString quoted(const QString &text) {
  return QLatin1Char('"') + text + QLatin1Char('"');
}

QString elementOf(const pos::fault_t &fault) {
  QString mechanism = "mechanism "_s + quoted(fault.mechanism);
  switch (fault.element) {
  case pos::faulty_t::IAPA:
    return "iapa"_s;
  case pos::faulty_t::MECHANISM:
    return mechanism;
  case pos::faulty_t::DRIVER:
    return "driver "_s + quoted(fault.driver) + " of "_s + mechanism;
  case pos::faulty_t::GOAL:
    break;
  }
  return "the goal"_s;
}

} // namespace

QString textOf(const pos::goal_name_t &name) {
  return pos::strOfGoalName({shown(name.tag), name.number});
}

QString textOf(const driver_name_t &driver) {
  return shown(driver.mechanism) + QLatin1Char('/') + shown(driver.driver);
}

QString namesOf(const std::vector<driver_name_t> &drivers, const QString &separator) {
  QStringList names;
  for (const driver_name_t &driver : drivers)
    names.append(textOf(driver));
  return names.join(separator);
}

QString proofsOf(const goal_t &goal) {
  const QString separator = ", "_s;
  QStringList parts;
  if (goal.provedByItself)
    parts.append("own "_s + goal.proofState);
  if (!goal.provedBy.empty())
    parts.append(namesOf(goal.provedBy, separator));
  if (!goal.disprovedBy.empty())
    parts.append("disproved by "_s + namesOf(goal.disprovedBy, separator));
  if (!goal.uncountedProofs.empty())
    parts.append("(not counted: "_s + namesOf(goal.uncountedProofs, separator) + QLatin1Char(')'));
  return parts.join(separator);
}

QString textOf(const pos::fault_t &fault) {
  switch (fault.kind) {
  case pos::fault_kind_t::NO_STATUSES:
    return "no status file: its root element is "_s + shown(fault.text) + ", not "_s +
           pos::TAG_PROOF_OBLIGATIONS;
  case pos::fault_kind_t::MISSING:
    return elementOf(fault) + " has no "_s + fault.attribute;
  case pos::fault_kind_t::UNFOUNDED:
    return elementOf(fault) + " has status "_s + quoted(fault.text) +
           ", from its parts follows "_s + quoted(pos::strOfProofStatus(fault.expected));
  default:
    return elementOf(fault) + " has the unknown "_s + fault.attribute + QLatin1Char(' ') +
           quoted(fault.text);
  }
}
