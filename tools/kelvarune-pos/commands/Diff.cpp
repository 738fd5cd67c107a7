// Two states of a component side by side, or of many.

#include "commands/Commands.h"
#include "commands/Components.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "model/Overview.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

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

QJsonObject jsonOfChange(const change_t &change) {
  const auto status = [](const std::optional<pos::status_t> &known) {
    return known ? QJsonValue(pos::strOfProofStatus(*known)) : QJsonValue();
  };
  return {{"tag"_s, change.place.tag},
          {"number"_s, change.place.number},
          {"old"_s, status(change.before)},
          {"new"_s, status(change.after)}};
}

/// One component needs no name.
std::vector<cell_t> rowOf(const change_t &change, const kind_name_t &kind,
                          const QString *component) {
  const auto status = [](const std::optional<pos::status_t> &known) {
    return known ? statusCell(*known) : cell_t(QString());
  };
  std::vector<cell_t> cells = {{QLatin1String(kind.name), kind.colour}};
  if (component)
    cells.emplace_back(shown(*component));
  cells.insert(cells.end(),
               {textOf(change.place), status(change.before), "->"_s, status(change.after)});
  return cells;
}

/// All changes by their kinds, as JSON and as text.
struct listing_t {
  QJsonObject json;
  QString rows;
  QString counts;
};

listing_t listingOf(const overview_t &overview, bool areNamed) {
  listing_t listing;
  Table table("llllll");
  QStringList counts;
  for (const kind_name_t &kind : KINDS) {
    QJsonArray array;
    for (const component_t &component : overview.components) {
      for (const change_t &change : component.changes) {
        if (change.kind != kind.kind)
          continue;
        QJsonObject object = jsonOfChange(change);
        if (areNamed)
          object["component"_s] = component.name;
        array.append(object);
        table.add(rowOf(change, kind, areNamed ? &component.name : nullptr));
      }
    }
    listing.json[QLatin1String(kind.name)] = array;
    counts.append(QString::number(array.size()) + QLatin1Char(' ') + QLatin1String(kind.name));
  }
  listing.rows = table.text();
  listing.counts = counts.join(", "_s) + QLatin1Char('\n');
  return listing;
}

QString stateOf(const component_t &component) {
  if (component.isGone)
    return "disappeared"_s;
  if (!component.faults.isEmpty())
    return "unreadable"_s;
  return component.isNew ? "appeared"_s : "compared"_s;
}

/// A row for each component in which something differs, and their sums; empty when there is none.
QString componentsText(const overview_t &overview) {
  const auto isSame = [](const component_t &component) {
    return stateOf(component) == "compared"_s && component.changes.empty();
  };
  if (std::all_of(overview.components.begin(), overview.components.end(), isSame))
    return QString();
  Table table("lrrrrrl");
  std::vector<cell_t> head = {"Component"_s};
  std::vector<cell_t> sums = {"Total"_s};
  for (const kind_name_t &kind : KINDS) {
    const QString name = QLatin1String(kind.name);
    head.emplace_back(name.left(1).toUpper() + name.mid(1));
    sums.emplace_back(cell_t(countOf(overview, kind.kind)));
  }
  table.add(head);
  for (const component_t &component : overview.components) {
    if (isSame(component))
      continue;
    const QString state = stateOf(component);
    std::vector<cell_t> cells = {shown(component.name)};
    for (const kind_name_t &kind : KINDS)
      cells.emplace_back(cell_t(countOf(component, kind.kind)));
    cells.emplace_back(state == "compared"_s ? QString() : state);
    table.add(cells);
  }
  table.add(sums);
  return table.text();
}

int diffStatus(const overview_t &overview) {
  if (statusOf(overview) != EXIT_DONE)
    return statusOf(overview);
  return countOf(overview, difference_kind_t::LOST) > 0 ? EXIT_FOUND : EXIT_DONE;
}

int diffFiles(const options_t &options) {
  std::vector<goal_t> before;
  std::vector<goal_t> after;
  if (!readGoals(options.files[0], before) || !readGoals(options.files[1], after))
    return EXIT_REFUSED;
  overview_t overview;
  overview.components.emplace_back();
  overview.components.front().changes = changesOf(before, after);
  if (options.missingIsLost)
    takeGoneForLost(overview);
  listing_t listing = listingOf(overview, false);
  listing.json["oldFile"_s] = options.files[0];
  if (options.json)
    return finishJson("diff", options.files[1], listing.json, diffStatus(overview));
  return finish((listing.rows + listing.counts).toUtf8(), diffStatus(overview));
}

int diffComponents(const options_t &options, const portfolio_t &portfolio, const QString &against) {
  const auto earlier = earlierOf(against, portfolio);
  if (!earlier)
    return EXIT_REFUSED;
  overview_t overview = readAll(portfolio, options, earlier->get());
  if (options.missingIsLost)
    takeGoneForLost(overview);
  listing_t listing = listingOf(overview, true);
  if (!options.json) {
    const QString blank = listing.rows.isEmpty() ? QString() : "\n"_s;
    const QString text = listing.rows + blank + componentsText(overview) + listing.counts;
    return finish(text.toUtf8(), diffStatus(overview));
  }
  QJsonArray components;
  for (const component_t &component : overview.components)
    components.append(QJsonObject{{"component"_s, component.name},
                                  {"file"_s, component.path},
                                  {"state"_s, stateOf(component)},
                                  {"faults"_s, QJsonArray::fromStringList(component.faults)}});
  listing.json["oldFile"_s] = against;
  listing.json["components"_s] = components;
  return finishJson("diff", QString(), listing.json, diffStatus(overview));
}

} // namespace

int commands::diff(const options_t &options) {
  if (!options.against.isEmpty()) {
    const auto portfolio = portfolioOf(options);
    return portfolio ? diffComponents(options, *portfolio, options.against) : EXIT_REFUSED;
  }
  const auto isDirectory = [](const QString &path) { return QFileInfo(path).isDir(); };
  if (std::all_of(options.files.begin(), options.files.end(), isDirectory))
    return diffComponents(options, portfolioBelow(options.files[1]), options.files[0]);
  return diffFiles(options);
}
