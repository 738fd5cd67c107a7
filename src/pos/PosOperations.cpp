// The operations on whole documents. All go through the goals in document order and differ only in
// what they do with one goal.

#include "pos/PosInternal.h"
#include "pos/pos.h"

#include <QTextStream>

#include <algorithm>
#include <iostream>

using namespace kelvarune;

namespace pos {

namespace {

void addName(std::vector<std::string> &names, const std::string &name) {
  if (std::find(names.begin(), names.end(), name) == names.end())
    names.push_back(name);
}

bool removeFromGoal(QDomElement goal, const QString &name, bool &changed) {
  for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM)) {
    if (mechanism.attribute(ATTR_NAME) != name)
      continue;
    if (goal.removeChild(mechanism).isNull())
      return false;
    changed = true;
    const status_t expected = expectedStatus(goal);
    if (statusOf(goal) != expected)
      goal.setAttribute(ATTR_STATUS, strOfProofStatus(expected));
    return true;
  }
  return true;
}

// The XML library indents the element as if it were a child of the root.
std::string xmlOf(const QDomElement &element) {
  QString text;
  QTextStream stream(&text);
  element.save(stream, XML_INDENT);
  return text.toStdString();
}

} // namespace

bool getMechanisms(const std::string &path, std::vector<std::string> &names) {
  const QDomDocument document = domOfPath(path);
  if (document.isNull())
    return false;
  names.clear();
  visitParts(document, part_t::DOCUMENT, [&names](part_t part, const QDomElement &element) {
    if (part == part_t::GOAL)
      statusOf(element); // Only so that a corrupt file is not silently accepted.
    else if (part == part_t::MECHANISM)
      addName(names, element.attribute(ATTR_NAME).toStdString());
  });
  return true;
}

void unprove(QDomDocument &document) {
  visitParts(document, part_t::DOCUMENT, [](part_t part, QDomElement element) {
    if (part == part_t::GOAL) {
      const bool proved = isProvedProofState(proofStateOf(element, ATTR_VALUE_UNPROVED));
      element.setAttribute(ATTR_STATUS, proved ? ATTR_VALUE_PROVED : ATTR_VALUE_UNPROVED);
    } else if (part == part_t::MECHANISM) {
      element.setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
    }
  });
}

bool removeMechanism(QDomDocument &document, const QString &name, bool &changed) {
  changed = false;
  if (document.isNull())
    return false;
  const std::vector<goal_t> goals = goalsOf(document);
  return std::all_of(goals.begin(), goals.end(), [&name, &changed](const goal_t &goal) {
    return removeFromGoal(goal.element, name, changed);
  });
}

bool checkPosInvariant(const QDomDocument &document) {
  for (const goal_t &goal : goalsOf(document)) {
    if (expectedStatus(goal.element) == statusOf(goal.element))
      continue;
    std::cerr << xmlOf(goal.element) << std::flush;
    return false;
  }
  return true;
}

} // namespace pos
