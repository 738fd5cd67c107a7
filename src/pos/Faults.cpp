// Where a text stands for no status, the operations of the module raise an error that says neither
// which nor where. Here the same tables are asked for every text that an operation may read.

#include "pos/Faults.h"

#include "pos/PosInternal.h"

#include <map>
#include <utility>

using namespace kelvarune;

namespace pos {

namespace {

/// Collects the faults of one goal.
class GoalFaults {
public:
  GoalFaults(const goal_t &goal, use_t use) : goal(goal), use(use) {}

  std::vector<fault_t> find() {
    check(goal.element, {}, ATTR_VALUE_UNPROVED, proofStatusOfAttrValue_dict());
    if (use != use_t::COUNTING)
      checkIapa(goal.element.firstChildElement(TAG_IAPA));
    for (const QDomElement &mechanism : xml::children(goal.element, TAG_MECHANISM))
      checkMechanism(mechanism);
    if (use == use_t::CHECKING && faults.empty())
      checkStatus();
    return std::move(faults);
  }

private:
  /// What a fault of an element says of the element.
  struct who_t {
    faulty_t element = faulty_t::GOAL;
    QString mechanism = {};
    QString driver = {};
    QString attribute = ATTR_STATUS;
  };

  void checkIapa(const QDomElement &iapa) {
    const who_t who = {faulty_t::IAPA, {}, {}, ATTR_VALUE};
    const QDomElement verdict = iapa.firstChildElement(TAG_STATUS);
    if (!iapa.isNull() && verdict.isNull())
      add(fault_kind_t::MISSING, iapa, who, QString());
    else if (!verdict.isNull())
      check(verdict, who, QString(), ia_dict());
  }

  void checkMechanism(const QDomElement &mechanism) {
    const QString name = mechanism.attribute(ATTR_NAME);
    const who_t who = {faulty_t::MECHANISM, name};
    if (use == use_t::COUNTING)
      check(mechanism, who, ATTR_VALUE_UNPROVED, proofStatusOfAttrValue_dict());
    else
      check(mechanism, who, QString(), me_dict());
    for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER))
      check(driver, {faulty_t::DRIVER, name, driver.attribute(ATTR_NAME)}, ATTR_VALUE_UNPROVED,
            proofStatusOfAttrValue_dict());
  }

  void check(const QDomElement &element, const who_t &who, const QString &absent,
             const std::map<QString, status_t> &known) {
    const QString text = element.attribute(who.attribute, absent);
    if (known.count(text) == 0)
      add(element.hasAttribute(who.attribute) ? fault_kind_t::UNKNOWN : fault_kind_t::MISSING,
          element, who, text);
  }

  void checkStatus() {
    const status_t expected = expectedStatus(goal.element);
    if (statusOf(goal.element) == expected)
      return;
    add(fault_kind_t::UNFOUNDED, goal.element, {},
        goal.element.attribute(ATTR_STATUS, ATTR_VALUE_UNPROVED));
    faults.back().expected = expected;
  }

  void add(fault_kind_t kind, const QDomElement &element, const who_t &who, const QString &text) {
    faults.push_back({kind, element.lineNumber(), element.columnNumber(), text, goal.place,
                      who.element, who.mechanism, who.driver, who.attribute});
  }

  const goal_t &goal;
  use_t use;
  std::vector<fault_t> faults;
};

} // namespace

std::vector<fault_t> faultsOf(const QDomDocument &document, use_t use) {
  std::vector<fault_t> faults;
  for (const goal_t &goal : goalsOf(document)) {
    for (fault_t &fault : GoalFaults(goal, use).find())
      faults.push_back(std::move(fault));
  }
  return faults;
}

std::vector<fault_t> readFaults(const QString &path, use_t use, QDomDocument &document) {
  const xml::read_result_t read = xml::readDocument(path, document);
  if (!read.readable)
    return {{fault_kind_t::UNREADABLE}};
  if (!read.wellFormed)
    return {{fault_kind_t::MALFORMED, read.line, read.column, read.message}};
  const QDomElement root = document.documentElement();
  if (root.tagName() != TAG_PROOF_OBLIGATIONS)
    return {{fault_kind_t::NO_STATUSES, root.lineNumber(), root.columnNumber(), root.tagName()}};
  return faultsOf(document, use);
}

} // namespace pos
