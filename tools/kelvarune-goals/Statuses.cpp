#include "Statuses.h"

#include "Component.h"
#include "Draft.h"
#include "Options.h"
#include "Paths.h"
#include "file/FileReplacer.h"
#include "files/Reading.h"
#include "files/Saving.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QDomDocument>

#include <algorithm>
#include <cerrno>
#include <cstring>

using namespace kelvarune;
using pos::goal_change_kind_t;

namespace {

QString lineOf(const pos::goal_change_t &change) {
  const QString name = textOf(change.name);
  switch (change.kind) {
  case goal_change_kind_t::MOVED:
    return "moved    "_s + textOf(change.before) + " -> "_s + name;
  case goal_change_kind_t::CHANGED:
    return "changed  "_s + name;
  case goal_change_kind_t::ADDED:
    return "added    "_s + name;
  case goal_change_kind_t::REMOVED:
    break;
  }
  return "removed  "_s + name;
}

/// "12 goals: 9 kept, 1 moved, 2 changed, 0 added, 0 removed".
QString countsOf(const pos::sync_plan_t &plan) {
  const auto number = [&plan](goal_change_kind_t kind) {
    return QString::number(
        std::count_if(plan.changes.begin(), plan.changes.end(),
                      [kind](const pos::goal_change_t &change) { return change.kind == kind; }));
  };
  return "%1: %2 kept, %3 moved, %4 changed, %5 added, %6 removed"_s.arg(
      counted(static_cast<int>(plan.origins.size()), "goal"), QString::number(plan.kept),
      number(goal_change_kind_t::MOVED), number(goal_change_kind_t::CHANGED),
      number(goal_change_kind_t::ADDED), number(goal_change_kind_t::REMOVED));
}

} // namespace

bool refuseError(const std::string &path, const QString &what, int error) {
  complain(paths::textOf(path) + ": "_s + what + ": "_s +
           QString::fromLocal8Bit(std::strerror(error)));
  return false;
}

Statuses::Statuses(const std::string &path, const options_t &options)
    : path(QString::fromStdString(path)), options(options),
      isThere(!paths::realPath(path).empty()) {}

bool Statuses::compare(const std::vector<pos::listed_obligation_t> &list) {
  QDomDocument document;
  if (!readSound(path, pos::use_t::COUNTING, document))
    return false;
  const pos::sync_plan_t plan = pos::planSync(
      document, list, options.adopt ? pos::undigested_t::ADOPTED : pos::undigested_t::CHANGED);
  inStep = plan.isInStep();
  if (options.verbose) {
    for (const pos::goal_change_t &change : plan.changes)
      summary += lineOf(change) + QLatin1Char('\n');
  }
  summary += shown(path) + ": "_s + countsOf(plan);
  if (plan.isReordered && plan.changes.empty())
    summary += ", in another order"_s;
  if (plan.unknown > 0)
    summary += "; %1 had no digest%2"_s.arg(
        counted(static_cast<int>(plan.unknown), "goal"),
        options.adopt ? QString() : ", --adopt takes such goals as unchanged"_s);
  if (options.check || (inStep && !plan.hasOtherSources))
    return true;
  pos::sync(document, list, plan);
  bytes = bytesOf(document);
  return true;
}

bool Statuses::save() {
  if (bytes.isEmpty())
    return true;
  if (inStep)
    return saveWithoutCopy();
  QString backup;
  if (!replaceFile(path, bytes, backup))
    return false;
  summary += "; as it was: "_s + shown(backup);
  return true;
}

// Only what people read has changed.
bool Statuses::saveWithoutCopy() {
  file::FileReplacer replacer(path.toStdString());
  const file::result_t result = replacer.replace({bytes});
  return result.outcome == file::outcome_t::DONE ||
         refuseError(path.toStdString(), "cannot be replaced"_s, result.error);
}

bool Statuses::make(const goals::PogFile &pog) {
  Draft draft;
  int error = draft.create(path.toStdString());
  if (error == 0 && !component::writeFresh(pog, draft.fd())) {
    error = errno;
    if (error == 0)
      return false;
  }
  if (error == 0)
    error = draft.install();
  if (error != 0)
    return refuseError(path.toStdString(), "cannot be written"_s, error);
  summary = "%1: %2 in %3"_s.arg(shown(path), counted(static_cast<int>(pog.goals()), "goal"),
                                 counted(static_cast<int>(pog.obligations()), "obligation"));
  return true;
}
