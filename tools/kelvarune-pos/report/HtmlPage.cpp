// The page's markup, style and script are files of their own below report/, compiled in. Here they
// are put together with the numbers, which travel as JSON in the page; the script draws the rest.

#include "report/HtmlPage.h"

#include "front/Utils.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

using namespace kelvarune;

namespace {

QByteArray resource(const char *name) {
  QFile file(":/report/"_s + QLatin1String(name));
  file.open(QIODevice::ReadOnly);
  return file.readAll();
}

/// Numbers the drivers: those of the statistics in their order, as the page's script counts them,
/// then any others in the order in which they are met.
class DriverIndex {
public:
  explicit DriverIndex(const stats_t &stats) {
    for (const auto &[mechanismName, mechanism] : stats.metrics.mechanisms) {
      for (const auto &[driverName, driver] : mechanism->drivers)
        indexOf({QString::fromStdString(mechanismName), QString::fromStdString(driverName)});
    }
  }

  QJsonArray indexesOf(const std::vector<driver_name_t> &drivers) {
    QJsonArray result;
    for (const driver_name_t &driver : drivers)
      result.append(indexOf(driver));
    return result;
  }
  int indexOf(const driver_name_t &driver) {
    const auto [found, isNew] = indexes.insert({driver, names.size()});
    if (isNew)
      names.append(textOf(driver));
    return found->second;
  }

  QJsonArray names;

private:
  std::map<driver_name_t, int> indexes;
};

// Ten thousand objects with long keys would be most of the page, so a goal is an array: index of
// the obligation, number, status, proofs that hold, uncounted ones, disproofs, the own proof, the
// driver without which it is not proved, and where it stands (or null).
QJsonArray rowOf(const goal_t &goal, DriverIndex &drivers) {
  return {goal.place.obligation - 1,
          goal.place.number,
          static_cast<int>(goal.status),
          drivers.indexesOf(goal.provedBy),
          drivers.indexesOf(goal.uncountedProofs),
          drivers.indexesOf(goal.disprovedBy),
          goal.provedByItself ? QJsonValue(goal.proofState) : QJsonValue(),
          goal.onlyProver ? QJsonValue(drivers.indexOf(*goal.onlyProver)) : QJsonValue(),
          goal.source.isEmpty() ? QJsonValue() : QJsonValue(goal.source)};
}

QJsonObject dataOf(const QString &path, const std::vector<goal_t> &goals, const stats_t &stats) {
  QJsonArray tags;
  QJsonArray rows;
  DriverIndex drivers(stats);
  for (const goal_t &goal : goals) {
    if (goal.place.obligation > tags.size())
      tags.append(shown(goal.place.tag));
    rows.append(rowOf(goal, drivers));
  }
  QJsonObject data = jsonOf(stats);
  data["component"_s] = QString::fromStdString(baseNameOfPath(path.toStdString()));
  data["file"_s] = QFileInfo(path).fileName();
  // The file's time rather than now: the same file always gives the same page.
  data["modified"_s] = QFileInfo(path).lastModified().toUTC().toString(Qt::ISODate);
  data["program"_s] = "kelvarune-pos "_s + QCoreApplication::applicationVersion();
  data["obligations"_s] = tags;
  data["drivers"_s] = drivers.names;
  data["goals"_s] = rows;
  return data;
}

// Within a script element only "<" could end it or start a comment.
QByteArray scriptJson(const QJsonObject &data) {
  return QJsonDocument(data).toJson(QJsonDocument::Compact).replace("<", "\\u003c");
}

QByteArray pageOf(const QJsonObject &data) {
  QByteArray page = resource("page.html");
  page.replace("@STYLE@", resource("page.css"));
  page.replace("@SCRIPT@", resource("page.js"));
  page.replace("@DATA@", scriptJson(data)); // last: it may hold any of these marks
  return page;
}

} // namespace

QByteArray htmlPage(const QString &path, const std::vector<goal_t> &goals, const stats_t &stats) {
  return pageOf(dataOf(path, goals, stats));
}
