// Says where the statuses are that would end a run, for programs that check their input first.

#include "pos/PosCheck.h"

#include "pos/PosInternal.h"

#include <stdexcept>

using namespace kelvarune;

namespace pos {

namespace {

bool hasStatus(const QDomElement &element) {
  try {
    statusOf(element);
    return true;
  } catch (const std::out_of_range &) {
    return false;
  }
}

} // namespace

std::vector<unknown_status_t> unknownStatuses(const QDomDocument &document) {
  std::vector<unknown_status_t> result;
  QDomNode obligation; // of the goal before
  int number = 0;
  forEachGoal(document, [&](const QDomElement &goal) {
    number = goal.parentNode() == obligation ? number + 1 : 1;
    obligation = goal.parentNode();
    const auto check = [&](const QDomElement &element) {
      if (!hasStatus(element))
        result.push_back({element.attribute(ATTR_STATUS),
                          obligation.firstChildElement(TAG_TAG).text(), number,
                          element.lineNumber(), element.columnNumber()});
    };
    check(goal);
    for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM)) {
      check(mechanism);
      for (const QDomElement &driver : xml::children(mechanism, TAG_DRIVER))
        check(driver);
    }
  });
  return result;
}

} // namespace pos
