// Totals, then a row per mechanism and driver.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Reading.h"
#include "model/Stats.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

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

QString tableOf(const stats_t &stats, const QString &path) {
  QString text = shown(path) + ": "_s + counted(stats.metrics.total, "goal") + QLatin1Char('\n') +
                 totalsText(stats);
  if (!stats.metrics.mechanisms.empty())
    text += QLatin1Char('\n') + mechanismsText(stats);
  return text;
}

} // namespace

int commands::stats(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  const stats_t stats = statsOf(document, goalsOf(document));
  if (options.csv)
    return finish(csvOf(stats));
  if (options.json)
    return finishJson("stats", options.file(), jsonOf(stats));
  return finish(tableOf(stats, options.file()).toUtf8());
}
