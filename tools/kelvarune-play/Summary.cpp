// What tools say differs from entry to entry in numbers and names. Texts that differ in digits only
// count as the same, and of the others no more than a few are told for each driver and cause.

#include "Summary.h"

#include "text/Literals.h"

#include <QRegularExpression>

#include <algorithm>

using namespace kelvarune;

namespace {

constexpr int TOLD_DETAILS = 3;

QString withoutDigits(QString text) {
  static const QRegularExpression digits("[0-9]+"_s);
  return text.replace(digits, "0"_s);
}

} // namespace

void Summary::add(const QString &driver, const std::optional<cause_t> &cause) {
  ++entries[driver];
  if (cause)
    ++groupOf(driver, *cause).count;
}

Summary::group_t &Summary::groupOf(const QString &driver, const cause_t &cause) {
  const QString likeness = withoutDigits(cause.detail);
  int details = 0;
  for (group_t &group : groups) {
    if (group.driver != driver || group.cause.what != cause.what)
      continue;
    ++details;
    if (group.likeness == likeness || details > TOLD_DETAILS)
      return group;
  }
  groups.push_back({driver, cause, likeness});
  if (details == TOLD_DETAILS)
    groups.back().cause.detail = "something else"_s;
  return groups.back();
}

QStringList Summary::lines() const {
  QStringList result;
  for (const group_t &group : groups) {
    const unsigned long all = entries.at(group.driver);
    result << "%1: %2 of %3 %4: "_s.arg(group.driver, QString::number(group.count),
                                        QString::number(all), all == 1 ? "entry"_s : "entries"_s) +
                  group.cause.text();
  }
  return result;
}
