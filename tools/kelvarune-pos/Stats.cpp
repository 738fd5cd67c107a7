// The counts are the library's. What it does not count is added here: the goals with status
// "Unknown", which are what the other counters leave of the total, and the goals that hang on the
// proof of a single driver.

#include "Stats.h"

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

int provedAloneBy(const stats_t &stats, const std::string &mechanism, const std::string &driver) {
  const auto found =
      stats.provedAlone.find({QString::fromStdString(mechanism), QString::fromStdString(driver)});
  return found == stats.provedAlone.end() ? 0 : found->second;
}

QJsonObject jsonOfDriver(const pos::driver_metrics_t &driver) {
  return {{"proved"_s, driver.proved},
          {"unproved"_s, driver.unproved},
          {"unknown"_s, driver.unknown},
          {"disproved"_s, driver.disproved}};
}

QJsonObject jsonOfMechanism(const pos::mechanism_metrics_t &mechanism) {
  return {{"proved"_s, mechanism.proved},
          {"unreliablyProved"_s, mechanism.unreliablyProved},
          {"unproved"_s, mechanism.unproved},
          {"unknown"_s, mechanism.unknown},
          {"disproved"_s, mechanism.disproved}};
}

QJsonObject jsonOfTotals(const stats_t &stats) {
  const pos::metrics_t &metrics = stats.metrics;
  return {{"total"_s, metrics.total},
          {"proved"_s, metrics.proved},
          {"unreliablyProved"_s, metrics.unreliablyProved},
          {"unproved"_s, metrics.unproved},
          {"unknown"_s, stats.unknown},
          {"disproved"_s, metrics.disproved},
          {"provedExternally"_s, metrics.provedExternally},
          {"provedByProofState"_s, metrics.provedByProofState},
          {"provedByOneDriver"_s, stats.provedByOneDriver}};
}

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
                      text(provedAloneBy(stats, mechanismName, driverName))});
    }
  }
}

QByteArray csvOf(const stats_t &stats) {
  const pos::metrics_t &metrics = stats.metrics;
  QByteArray bytes = csvRecord("level,mechanism,driver,proved,unreliably_proved,"
                               "unproved,unknown,disproved,proved_alone,total,"
                               "proved_externally,proved_by_proof_state"_s.split(QLatin1Char(',')));
  QStringList totals = {"total"_s, QString(), QString()};
  for (const int number : {metrics.proved, metrics.unreliablyProved, metrics.unproved,
                           stats.unknown, metrics.disproved, stats.provedByOneDriver, metrics.total,
                           metrics.provedExternally, metrics.provedByProofState})
    totals.append(QString::number(number));
  bytes += csvRecord(totals);
  forEachRow(stats, QString(),
             [&bytes](const QString *mechanism, const QString *driver, const QStringList &numbers) {
               const QString level = driver ? "driver"_s : "mechanism"_s;
               bytes += csvRecord(QStringList{level, *mechanism, driver ? *driver : QString()} +
                                  numbers + QStringList{QString(), QString(), QString()});
             });
  return bytes;
}

// Rounded down, so that nothing is "100.0 %" before the last one.
QString share(int number, int total) {
  if (total == 0)
    return QString();
  const int tenths = static_cast<int>(qint64(1000) * number / total);
  return "%1.%2 %"_s.arg(tenths / 10).arg(tenths % 10);
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

QString textOf(const stats_t &stats, const QString &path) {
  QString text = shown(path) + ": "_s + counted(stats.metrics.total, "goal") + QLatin1Char('\n') +
                 totalsText(stats);
  if (!stats.metrics.mechanisms.empty())
    text += QLatin1Char('\n') + mechanismsText(stats);
  return text;
}

} // namespace

bool countGoals(const QString &path, const std::vector<goal_t> &goals, stats_t &stats) {
  if (!pos::getMetrics(path.toStdString(), stats.metrics)) {
    complain(path + ": cannot be read any more, try again"_s);
    return false;
  }
  const pos::metrics_t &metrics = stats.metrics;
  stats.unknown = metrics.total - metrics.proved - metrics.unreliablyProved - metrics.unproved -
                  metrics.disproved;
  for (const goal_t &goal : goals) {
    if (!goal.onlyProver)
      continue;
    ++stats.provedByOneDriver;
    ++stats.provedAlone[*goal.onlyProver];
  }
  return true;
}

QJsonObject jsonOf(const stats_t &stats) {
  QJsonArray mechanisms;
  for (const auto &[mechanismName, mechanism] : stats.metrics.mechanisms) {
    QJsonArray drivers;
    for (const auto &[driverName, driver] : mechanism->drivers) {
      QJsonObject object = jsonOfDriver(*driver);
      object["name"_s] = QString::fromStdString(driverName);
      object["provedAlone"_s] = provedAloneBy(stats, mechanismName, driverName);
      drivers.append(object);
    }
    QJsonObject object = jsonOfMechanism(*mechanism);
    object["name"_s] = QString::fromStdString(mechanismName);
    object["drivers"_s] = drivers;
    mechanisms.append(object);
  }
  return {{"totals"_s, jsonOfTotals(stats)}, {"mechanisms"_s, mechanisms}};
}

int commands::stats(const options_t &options) {
  std::vector<goal_t> goals;
  stats_t stats;
  if (!readGoals(options.file(), goals) || !countGoals(options.file(), goals, stats))
    return EXIT_REFUSED;
  if (options.csv)
    return finish(csvOf(stats));
  if (options.json)
    return finishJson("stats", options.file(), jsonOf(stats));
  return finish(textOf(stats, options.file()).toUtf8());
}
