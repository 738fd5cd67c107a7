// A proof that is recorded for another goal than the one that was proved would be worse than none.
// Nearly always all goals are in their places; only where they are not is looked for what moved.

#include "InStep.h"

#include "goals/PogFile.h"
#include "output/Output.h"
#include "output/Words.h"
#include "pos/Sync.h"
#include "text/Literals.h"

#include <algorithm>

using namespace kelvarune;
using goals::PogFile;

namespace {

constexpr int TOLD_GOALS = 3;

bool hasDigest(const pos::obligation_t &obligation) {
  return std::any_of(obligation.goals.begin(), obligation.goals.end(),
                     [](const QDomElement &goal) { return goal.hasAttribute(pos::ATTR_DIGEST); });
}

/// Compares goal by goal while the POG is walked through.
class Comparison {
public:
  explicit Comparison(const std::vector<pos::obligation_t> &obligations)
      : obligations(obligations) {}

  PogFile::visitor_t visitor() {
    return {[this](const std::string &tag, std::size_t goals) {
              ++number;
              equal = equal && number <= obligations.size() && now().goals.size() == goals &&
                      now().tag == QString::fromStdString(tag);
            },
            [this](const goals::goal_ref_t &goal) {
              const QString known =
                  equal ? now().goals[goal.number - 1].attribute(pos::ATTR_DIGEST) : QString();
              equal = equal && (known.isEmpty() || known == QLatin1String(goal.digest.c_str()));
            }};
  }

  bool areEqual() const { return equal && number == obligations.size(); }

private:
  const pos::obligation_t &now() const { return obligations[number - 1]; }

  const std::vector<pos::obligation_t> &obligations;
  std::size_t number = 0;
  bool equal = true;
};

QString wordsFor(const pos::sync_plan_t &plan) {
  if (plan.changes.empty())
    return "its goals are in another order"_s;
  QStringList names;
  for (const pos::goal_change_t &change : plan.changes) {
    if (names.size() < TOLD_GOALS)
      names << textOf(change.name);
  }
  const int count = static_cast<int>(plan.changes.size());
  return "%1 changed, moved, new or gone (%2%3)"_s.arg(counted(count, "goal"), names.join(", "_s),
                                                       count > TOLD_GOALS ? ", ..."_s : QString());
}

} // namespace

QStringList faultsOfStep(const play_options_t &options, const QDomDocument &document) {
  const std::string path = options.pogPath.toStdString();
  const std::vector<pos::obligation_t> obligations = pos::obligationsOf(document);
  if (options.noCheck || !PogFile::isOne(path) ||
      std::none_of(obligations.begin(), obligations.end(), hasDigest))
    return {};
  auto opened = PogFile::open(path);
  if (const auto *fault = std::get_if<std::string>(&opened))
    return {QString::fromStdString(*fault) + "."_s};
  const auto &pog = std::get<PogFile>(opened);
  Comparison comparison(obligations);
  if (const auto fault = pog.visit(comparison.visitor()))
    return {QString::fromStdString(*fault) + "."_s};
  if (comparison.areEqual())
    return {};

  std::vector<pos::listed_obligation_t> list;
  pog.visit({[&list](const std::string &tag, std::size_t) {
               list.push_back({QString::fromStdString(tag), {}});
             },
             [&list](const goals::goal_ref_t &goal) {
               list.back().goals.push_back({QString::fromStdString(goal.digest), QString()});
             }});
  const pos::sync_plan_t plan = pos::planSync(document, list, pos::undigested_t::ADOPTED);
  return {"%1: out of step with %2: %3; kelvarune-goals sync brings it in step, --no-check plays "
          "anyway."_s.arg(options.posPath, options.pogPath, wordsFor(plan))};
}
