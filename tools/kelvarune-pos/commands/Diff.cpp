// Two states of a component side by side.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "model/Differences.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QJsonArray>

using namespace kelvarune;

namespace {

/// A kind as JSON and people call it.
struct kind_name_t {
  difference_kind_t kind;
  const char *name;
  const char *colour;
};
constexpr kind_name_t KINDS[] = {{difference_kind_t::LOST, "lost", "1;31"},
                                 {difference_kind_t::GAINED, "gained", "32"},
                                 {difference_kind_t::CHANGED, "changed", "33"},
                                 {difference_kind_t::DISAPPEARED, "disappeared", "35"},
                                 {difference_kind_t::APPEARED, "appeared", "36"}};

const pos::goal_place_t &placeOf(const difference_t &difference) {
  return (difference.after ? difference.after : difference.before)->place;
}

QJsonObject jsonOfDifference(const difference_t &difference) {
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
          textOf(placeOf(difference)),
          status(difference.before),
          "->"_s,
          status(difference.after)};
}

std::vector<difference_t> differencesFor(const options_t &options,
                                         const std::vector<goal_t> &before,
                                         const std::vector<goal_t> &after) {
  std::vector<difference_t> found = differences(before, after);
  for (difference_t &difference : found) {
    if (options.missingIsLost && !difference.after && pos::isProof(difference.before->status))
      difference.kind = difference_kind_t::LOST;
  }
  return found;
}

} // namespace

int commands::diff(const options_t &options) {
  std::vector<goal_t> before;
  std::vector<goal_t> after;
  if (!readGoals(options.files[0], before) || !readGoals(options.files[1], after))
    return EXIT_REFUSED;
  const std::vector<difference_t> found = differencesFor(options, before, after);

  QJsonObject json = {{"oldFile"_s, options.files[0]}};
  Table table("lllll");
  QStringList counts;
  int status = EXIT_DONE;
  for (const kind_name_t &kind : KINDS) {
    QJsonArray array;
    for (const difference_t &difference : found) {
      if (difference.kind != kind.kind)
        continue;
      array.append(jsonOfDifference(difference));
      table.add(rowOf(difference, kind));
    }
    json[QLatin1String(kind.name)] = array;
    counts.append(QString::number(array.size()) + QLatin1Char(' ') + QLatin1String(kind.name));
    if (kind.kind == difference_kind_t::LOST && !array.isEmpty())
      status = EXIT_FOUND;
  }
  if (options.json)
    return finishJson("diff", options.files[1], json, status);
  return finish((table.text() + counts.join(", "_s) + QLatin1Char('\n')).toUtf8(), status);
}
