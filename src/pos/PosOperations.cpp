// The ways through a POS document, and the operations on whole documents: all walk the goals in
// document order and differ only in what they do with one goal.

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

/// Follows the path of elements that leads to goals and into them.
class GoalVisitor : public xml::ElementVisitor {
public:
  using visit_t = std::function<void(part_t, const xml::MetElement &)>;

  explicit GoalVisitor(const visit_t &visit) : visit(visit) {}

  void open(const xml::MetElement &element) override {
    const bool isChild = followed == depth;
    ++depth;
    if (isChild && step(element))
      followed = depth;
  }

  void close() override {
    --depth;
    followed = std::min(followed, depth);
  }

private:
  // Whether there may be more of the goal inside. Called for children of followed elements only.
  bool step(const xml::MetElement &element) {
    switch (depth) {
    case 1:
      return true; // the root, whatever its name
    case 2:
      return element.name() == TAG_PROOF_OBLIGATION;
    case 3:
      return visited(element, TAG_SIMPLE_GOAL, part_t::GOAL);
    case 4:
      visited(element, TAG_PROOF_STATE, part_t::PROOF_STATE);
      return visited(element, TAG_MECHANISM, part_t::MECHANISM);
    default:
      visited(element, TAG_DRIVER, part_t::DRIVER);
      return false;
    }
  }

  bool visited(const xml::MetElement &element, const QString &tag, part_t part) const {
    if (element.name() != tag)
      return false;
    visit(part, element);
    return true;
  }

  const visit_t &visit;
  int depth = 0;
  int followed = 0; // the number of elements open at once that lead there
};

} // namespace

QDomDocument domOfPath(const std::string &path) {
  QDomDocument document;
  const xml::read_result_t result = xml::readDocument(QString::fromStdString(path), document);
  // The parser leaves what it read before the error, and part of the goals is worse than none.
  if (result.readable && !result.wellFormed)
    document.removeChild(document.documentElement());
  return document;
}

xml::read_result_t
visitGoals(const std::string &path,
           const std::function<void(part_t part, const xml::MetElement &element)> &visit) {
  GoalVisitor visitor(visit);
  return xml::visitElements(QString::fromStdString(path), visitor);
}

bool getMechanisms(const std::string &path, std::vector<std::string> &names) {
  const QDomDocument document = domOfPath(path);
  if (document.isNull())
    return false;
  names.clear();
  forEachGoal(document, [&names](const QDomElement &goal) {
    statusOf(goal); // Only so that a corrupt file is not silently accepted.
    for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM))
      addName(names, mechanism.attribute(ATTR_NAME).toStdString());
  });
  return true;
}

void unprove(QDomDocument &document) {
  forEachGoal(document, [](QDomElement goal) {
    for (QDomElement mechanism : xml::children(goal, TAG_MECHANISM))
      mechanism.setAttribute(ATTR_STATUS, ATTR_VALUE_UNPROVED);
    const bool proved = isProvedProofState(proofStateOf(goal, ATTR_VALUE_UNPROVED));
    goal.setAttribute(ATTR_STATUS, proved ? ATTR_VALUE_PROVED : ATTR_VALUE_UNPROVED);
  });
}

bool removeMechanism(QDomDocument &document, const QString &name, bool &changed) {
  changed = false;
  if (document.isNull())
    return false;
  return everyGoal(document, [&name, &changed](const QDomElement &goal) {
    return removeFromGoal(goal, name, changed);
  });
}

bool checkPosInvariant(const QDomDocument &document) {
  return everyGoal(document, [](const QDomElement &goal) {
    if (expectedStatus(goal) == statusOf(goal))
      return true;
    std::cerr << xmlOf(goal) << std::flush;
    return false;
  });
}

} // namespace pos
