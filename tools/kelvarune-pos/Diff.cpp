// Two states of a component side by side. Goals are matched by tag and number; where a tag comes
// several times, its first obligation is matched with the first, and so on.

#include "Commands.h"
#include "Goals.h"
#include "Options.h"
#include "Output.h"
#include "text/Literals.h"

#include <QJsonArray>

#include <map>
#include <tuple>

using namespace kelvarune;

namespace {

using key_t = std::tuple<QString, int, int>; // tag, which obligation of that tag, number

enum class kind_t { LOST, GAINED, CHANGED, DISAPPEARED, APPEARED };

struct difference_t {
  kind_t kind;
  const goal_t *before; ///< null for a goal that appeared
  const goal_t *after;  ///< null for a goal that disappeared
};

/// A kind as JSON and people call it.
struct kind_name_t {
  kind_t kind;
  const char *name;
  const char *colour;
};
constexpr kind_name_t KINDS[] = {{kind_t::LOST, "lost", "1;31"},
                                 {kind_t::GAINED, "gained", "32"},
                                 {kind_t::CHANGED, "changed", "33"},
                                 {kind_t::DISAPPEARED, "disappeared", "35"},
                                 {kind_t::APPEARED, "appeared", "36"}};

std::map<key_t, const goal_t *> byKey(const std::vector<goal_t> &goals) {
  std::map<key_t, const goal_t *> result;
  std::map<QString, std::pair<int, int>> tags; // the last obligation of each tag, and which it was
  for (const goal_t &goal : goals) {
    auto &[obligation, occurrence] = tags[goal.place.tag];
    occurrence += obligation == goal.place.obligation ? 0 : 1;
    obligation = goal.place.obligation;
    result[{goal.place.tag, occurrence, goal.place.number}] = &goal;
  }
  return result;
}

// An unreliable proof is less than a proof, and more than none.
int strengthOf(pos::status_t status) {
  if (status == pos::PROVED)
    return 2;
  return status == pos::UNRELIABLY_PROVED ? 1 : 0;
}

kind_t kindOf(pos::status_t before, pos::status_t after) {
  if (strengthOf(before) == strengthOf(after))
    return kind_t::CHANGED;
  return strengthOf(before) > strengthOf(after) ? kind_t::LOST : kind_t::GAINED;
}

std::vector<difference_t> differences(const std::vector<goal_t> &before,
                                      const std::vector<goal_t> &after) {
  std::vector<difference_t> result;
  const std::map<key_t, const goal_t *> old = byKey(before);
  const std::map<key_t, const goal_t *> current = byKey(after);
  for (const auto &[key, goal] : old) {
    const auto found = current.find(key);
    if (found == current.end())
      result.push_back({kind_t::DISAPPEARED, goal, nullptr});
    else if (found->second->status != goal->status)
      result.push_back({kindOf(goal->status, found->second->status), goal, found->second});
  }
  for (const auto &[key, goal] : current) {
    if (old.count(key) == 0)
      result.push_back({kind_t::APPEARED, nullptr, goal});
  }
  return result;
}

const place_t &placeOf(const difference_t &difference) {
  return (difference.after ? difference.after : difference.before)->place;
}

QJsonObject jsonOf(const difference_t &difference) {
  const auto status = [](const goal_t *goal) {
    return goal ? QJsonValue(pos::strOfProofStatus(goal->status)) : QJsonValue();
  };
  return {{"tag"_s, placeOf(difference).tag},
          {"number"_s, placeOf(difference).number},
          {"old"_s, status(difference.before)},
          {"new"_s, status(difference.after)}};
}

std::vector<cell_t> rowOf(const difference_t &difference, const kind_name_t &kind) {
  const auto status = [](const goal_t *goal) {
    return goal ? statusCell(goal->status) : cell_t(QString());
  };
  return {{QLatin1String(kind.name), kind.colour},
          placeOf(difference).text(),
          status(difference.before),
          "->"_s,
          status(difference.after)};
}

} // namespace

int commands::diff(const options_t &options) {
  std::vector<goal_t> before;
  std::vector<goal_t> after;
  if (!readGoals(options.files[0], before) || !readGoals(options.files[1], after))
    return EXIT_REFUSED;
  const std::vector<difference_t> found = differences(before, after);

  QJsonObject json = {{"oldFile"_s, options.files[0]}};
  Table table("lllll");
  QStringList counts;
  int status = EXIT_DONE;
  for (const kind_name_t &kind : KINDS) {
    QJsonArray array;
    for (const difference_t &difference : found) {
      if (difference.kind != kind.kind)
        continue;
      array.append(jsonOf(difference));
      table.add(rowOf(difference, kind));
    }
    json[QLatin1String(kind.name)] = array;
    counts.append(QString::number(array.size()) + QLatin1Char(' ') + QLatin1String(kind.name));
    if (kind.kind == kind_t::LOST && !array.isEmpty())
      status = EXIT_FOUND;
  }
  if (options.json)
    return finishJson("diff", options.files[1], json, status);
  return finish((table.text() + counts.join(", "_s) + QLatin1Char('\n')).toUtf8(), status);
}
