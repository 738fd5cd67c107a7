// Totals, then a row per mechanism and driver; of several files those of all together.

#include "commands/Commands.h"
#include "commands/Components.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "files/Reading.h"
#include "model/Stats.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QJsonArray>

#include <vector>

using namespace kelvarune;

namespace {

// In the order of the columns: proved, unreliably proved, unproved, unknown, disproved, alone. The
// library has no count of drivers that proved unreliably; "-" tells that from none.
template <typename Row>
void forEachRow(const stats_t &stats, const QString &notCounted, Row row) {
  const auto text = [](int number) { return QString::number(number); };
  for (const auto &[mechanismName, mechanism] : stats.metrics.mechanisms) {
    const QString name = QString::fromStdString(mechanismName);
    row(&name, nullptr,
        QStringList{text(mechanism->proved), text(mechanism->unreliablyProved),
                    text(mechanism->unproved), text(mechanism->unknown), text(mechanism->disproved),
                    notCounted});
    for (const auto &[driverName, driver] : mechanism->drivers) {
      const QString nameOfDriver = QString::fromStdString(driverName);
      row(&name, &nameOfDriver,
          QStringList{text(driver->proved), notCounted, text(driver->unproved),
                      text(driver->unknown), text(driver->disproved),
                      text(stats.provedAloneBy(mechanismName, driverName))});
    }
  }
}

QByteArray csvHeader() {
  return csvRecord(
      "level,mechanism,driver,proved,unreliably_proved,unproved,unknown,disproved,"
      "proved_alone,total,proved_externally,proved_by_proof_state,file"_s.split(QLatin1Char(',')));
}

// The rows of one file; of all of them when `path` is empty.
QByteArray csvOf(const stats_t &stats, const QString &path) {
  const pos::metrics_t &metrics = stats.metrics;
  QStringList totals = {"total"_s, QString(), QString()};
  for (const int number : {metrics.proved, metrics.unreliablyProved, metrics.unproved,
                           stats.unknown, metrics.disproved, stats.provedByOneDriver, metrics.total,
                           metrics.provedExternally, metrics.provedByProofState})
    totals.append(QString::number(number));
  QByteArray bytes = csvRecord(totals + QStringList(path));
  forEachRow(stats, QString(),
             [&](const QString *mechanism, const QString *driver, const QStringList &numbers) {
               const QString level = driver ? "driver"_s : "mechanism"_s;
               bytes += csvRecord(QStringList{level, *mechanism, driver ? *driver : QString()} +
                                  numbers + QStringList{QString(), QString(), QString(), path});
             });
  return bytes;
}

QString totalsText(const stats_t &stats) {
  const pos::metrics_t &metrics = stats.metrics;
  const QString indent = "  "_s;
  const QString own = "own proof %1, mechanisms %2, one driver alone %3"_s.arg(
      QString::number(metrics.provedByProofState), QString::number(metrics.provedExternally),
      QString::number(stats.provedByOneDriver));
  Table table("lrrl");
  const auto add = [&](pos::status_t status, int number, const QString &more = QString()) {
    const cell_t cell = statusCell(status);
    table.add({{indent + cell.text, cell.colour},
               cell_t(number),
               share(number, metrics.total),
               more.isEmpty() ? more : indent + more});
  };
  add(pos::PROVED, metrics.proved, own);
  add(pos::UNRELIABLY_PROVED, metrics.unreliablyProved);
  add(pos::UNPROVED, metrics.unproved);
  add(pos::UNKNOWN, stats.unknown);
  add(pos::DISPROVED, metrics.disproved);
  return table.text();
}

QString mechanismsText(const stats_t &stats) {
  Table table("lrrrrrr");
  table.add({"Verdicts"_s, "Proved"_s, "Unreliably"_s, "Unproved"_s, "Unknown"_s, "Disproved"_s,
             "Alone"_s});
  forEachRow(stats, "-"_s,
             [&table](const QString *mechanism, const QString *driver, const QStringList &numbers) {
               std::vector<cell_t> cells = {driver ? "  "_s + shown(*driver) : shown(*mechanism)};
               cells.insert(cells.end(), numbers.begin(), numbers.end());
               table.add(cells);
             });
  return table.text();
}

/// One of several files.
struct counted_file_t {
  QString path;
  stats_t stats;
  QJsonValue times; ///< null without a history
};

/// What drivers took, and all together.
QJsonValue timesIn(const std::optional<history::past_t> &past) {
  if (!past)
    return QJsonValue();
  const plays_t plays = latestPlays(*past);
  return QJsonObject{{"total"_s, jsonOf(timesOf(plays))},
                     {"drivers"_s, jsonOfDrivers(*past, plays)}};
}

QString filesText(const std::vector<counted_file_t> &files, const stats_t &total) {
  Table table("lrrrrrrr");
  table.add({"Files"_s, "Goals"_s, "Proved"_s, ""_s, "Unreliably"_s, "Unproved"_s, "Unknown"_s,
             "Disproved"_s});
  const auto add = [&table](const QString &name, const stats_t &stats) {
    const pos::metrics_t &metrics = stats.metrics;
    table.add({name, cell_t(metrics.total), cell_t(metrics.proved),
               share(metrics.proved, metrics.total), cell_t(metrics.unreliablyProved),
               cell_t(metrics.unproved), cell_t(stats.unknown), cell_t(metrics.disproved)});
  };
  for (const counted_file_t &file : files)
    add(shown(file.path), file.stats);
  add("Total"_s, total);
  return table.text();
}

// One of several files that could be read is not alone.
QString statsText(const std::vector<counted_file_t> &files, const stats_t &total, bool isOne) {
  QString text = isOne ? shown(files.front().path) + ": "_s + counted(total.metrics.total, "goal") +
                             QLatin1Char('\n') + totalsText(total)
                       : filesText(files, total);
  if (!total.metrics.mechanisms.empty())
    text += QLatin1Char('\n') + mechanismsText(total);
  return text;
}

int finishJsonOf(const counted_file_t &file) {
  QJsonObject json = jsonOf(file.stats);
  json["times"_s] = file.times;
  return finishJson("stats", file.path, json);
}

// The document is that of their total, and has each of them besides.
int finishJsonOf(const std::vector<counted_file_t> &files, const overview_t &overview) {
  QJsonObject json = jsonOf(overview.total);
  QJsonArray unreadable;
  for (const component_t &component : overview.components) {
    for (const QString &fault : component.faults)
      unreadable.append(QJsonObject{{"file"_s, component.path}, {"fault"_s, fault}});
  }
  json["unreadable"_s] = unreadable;
  QJsonArray array;
  for (const counted_file_t &file : files) {
    QJsonObject object = jsonOf(file.stats);
    object["file"_s] = file.path;
    object["times"_s] = file.times;
    array.append(object);
  }
  json["files"_s] = array;
  return finishJson("stats", QString(), json, statusOf(overview));
}

int statsOfFile(const options_t &options) {
  const QString &path = options.file();
  QDomDocument document;
  if (!readSound(path, pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  const QJsonValue times = options.json ? timesIn(findHistory(options, path)) : QJsonValue();
  std::vector<counted_file_t> files;
  files.push_back({path, statsOf(document, goalsOf(document)), times});
  const stats_t &stats = files.front().stats;
  if (options.json)
    return finishJsonOf(files.front());
  return finish(options.csv ? csvHeader() + csvOf(stats, path)
                            : statsText(files, stats, true).toUtf8());
}

int statsOfComponents(const options_t &options, const portfolio_t &portfolio) {
  std::vector<QJsonValue> times(portfolio.components.size());
  overview_t overview =
      readAll(portfolio, options, nullptr,
              [&times](std::size_t i, const component_t &, const content_t &content) {
                times[i] = timesIn(content.past);
              });
  std::vector<counted_file_t> files;
  for (std::size_t i = 0; i < times.size(); ++i) {
    component_t &component = overview.components[i];
    if (component.isRead)
      files.push_back({component.path, std::move(component.stats), times[i]});
  }
  if (options.json)
    return finishJsonOf(files, overview);
  if (!options.csv)
    return finish(statsText(files, overview.total, false).toUtf8(), statusOf(overview));
  QByteArray bytes = csvHeader();
  for (const counted_file_t &file : files)
    bytes += csvOf(file.stats, file.path);
  return finish(bytes + csvOf(overview.total, QString()), statusOf(overview));
}

} // namespace

int commands::stats(const options_t &options) {
  if (options.files.size() == 1)
    return statsOfFile(options);
  const auto portfolio = portfolioOf(options);
  return portfolio ? statsOfComponents(options, *portfolio) : EXIT_REFUSED;
}
