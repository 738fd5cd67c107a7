// The ways through a POS document. Which elements mean something, and where, stands in one table;
// the document in memory and the file that is only read once are walked by it, so that what is
// counted in a file is what is found in its document.

#include "pos/Goals.h"
#include "pos/PosInternal.h"

#include <algorithm>

using namespace kelvarune;

namespace pos {

namespace {

/// Elements named `name` are a `part` as children of a `parent`, and nowhere else.
struct step_t {
  const QString *name;
  part_t parent;
  part_t part;
};

const step_t STEPS[] = {{&TAG_PROOF_OBLIGATION, part_t::ROOT, part_t::OBLIGATION},
                        {&TAG_SIMPLE_GOAL, part_t::OBLIGATION, part_t::GOAL},
                        {&TAG_PROOF_STATE, part_t::GOAL, part_t::PROOF_STATE},
                        {&TAG_IAPA, part_t::GOAL, part_t::IAPA},
                        {&TAG_MECHANISM, part_t::GOAL, part_t::MECHANISM},
                        {&TAG_DRIVER, part_t::MECHANISM, part_t::DRIVER}};

/// Knows for every element that is open in the file what it is.
class PartVisitor : public xml::ElementVisitor {
public:
  using visit_t = std::function<void(part_t, const xml::StartTag &)>;

  explicit PartVisitor(const visit_t &visit) : visit(visit) {}

  void open(const xml::StartTag &tag) override {
    path.push_back(partIn(path.back(), tag.name()));
    if (path.back() != part_t::OTHER)
      visit(path.back(), tag);
  }

  void close() override { path.pop_back(); }

private:
  const visit_t &visit;
  std::vector<part_t> path = {part_t::DOCUMENT};
};

/// The record of the mechanism `name`, which is made when there is none yet.
registered_t &findOrAdd(std::vector<registered_t> &mechanisms, const QString &name) {
  const auto found =
      std::find_if(mechanisms.begin(), mechanisms.end(),
                   [&name](const registered_t &mechanism) { return mechanism.name == name; });
  if (found != mechanisms.end())
    return *found;
  mechanisms.push_back({name, {}});
  return mechanisms.back();
}

} // namespace

part_t partIn(part_t parent, const QString &name) {
  if (parent == part_t::DOCUMENT)
    return part_t::ROOT; // whatever its name
  for (const step_t &step : STEPS) {
    if (step.parent == parent && *step.name == name)
      return step.part;
  }
  return part_t::OTHER;
}

xml::read_result_t
visitPartsOfFile(const std::string &path,
                 const std::function<void(part_t part, const xml::StartTag &tag)> &visit) {
  PartVisitor visitor(visit);
  return xml::visitElements(QString::fromStdString(path), visitor);
}

QDomDocument domOfPath(const std::string &path) {
  QDomDocument document;
  const xml::read_result_t result = xml::readDocument(QString::fromStdString(path), document);
  // The parser leaves what it read before the error, and part of the goals is worse than none.
  if (result.readable && !result.wellFormed)
    document.removeChild(document.documentElement());
  return document;
}

std::vector<obligation_t> obligationsOf(const QDomDocument &document) {
  std::vector<obligation_t> obligations;
  const auto visit = [&obligations](part_t part, const QDomElement &element) {
    if (part == part_t::OBLIGATION)
      obligations.push_back({element.firstChildElement(TAG_TAG).text(), {}});
    else if (part == part_t::GOAL)
      obligations.back().goals.push_back(element);
  };
  visitParts(document, part_t::DOCUMENT, visit, part_t::GOAL);
  return obligations;
}

std::vector<goal_t> goalsOf(const QDomDocument &document) {
  std::vector<goal_t> goals;
  int number = 0; // of the obligation
  for (const obligation_t &obligation : obligationsOf(document)) {
    number += obligation.goals.empty() ? 0 : 1;
    goal_place_t place = {{obligation.tag, 0}, number};
    for (const QDomElement &goal : obligation.goals) {
      ++place.number;
      goals.push_back({place, goal});
    }
  }
  return goals;
}

std::vector<registered_t> registeredMechanisms(const QDomDocument &document) {
  std::vector<registered_t> mechanisms;
  for (const goal_t &goal : goalsOf(document)) {
    for (const QDomElement &mechanism : xml::children(goal.element, TAG_MECHANISM)) {
      QStringList &drivers = findOrAdd(mechanisms, mechanism.attribute(ATTR_NAME)).drivers;
      for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER)) {
        const QString name = driver.attribute(ATTR_NAME);
        if (!drivers.contains(name))
          drivers.append(name);
      }
    }
  }
  return mechanisms;
}

QString strOfGoalName(const goal_name_t &name) {
  return name.tag + QLatin1Char('.') + QString::number(name.number);
}

std::optional<goal_name_t> goalNameOfStr(const QString &text) {
  const int dot = text.lastIndexOf(QLatin1Char('.'));
  const int number = text.mid(dot + 1).toInt(); // 0 for what is no number
  if (dot < 0 || number < 1)
    return std::nullopt;
  return goal_name_t{text.left(dot), number};
}

} // namespace pos
