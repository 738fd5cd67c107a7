// The objects that several commands and the page have in common.

#include "output/Json.h"

#include "front/Utils.h"
#include "text/Literals.h"

#include <QJsonDocument>

using namespace kelvarune;

namespace {

constexpr int FORMAT_VERSION = 1;

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

} // namespace

QJsonObject jsonOf(const pos::goal_place_t &place) {
  return {{"tag"_s, place.tag}, {"number"_s, place.number}, {"obligation"_s, place.obligation}};
}

QJsonArray jsonOf(const std::vector<driver_name_t> &drivers) {
  QJsonArray array;
  for (const driver_name_t &driver : drivers)
    array.append(QJsonObject{{"mechanism"_s, driver.mechanism}, {"driver"_s, driver.driver}});
  return array;
}

QJsonObject jsonOf(const goal_t &goal) {
  QJsonObject object = jsonOf(goal.place);
  object["status"_s] = pos::strOfProofStatus(goal.status);
  object["proofState"_s] = goal.proofState;
  if (!goal.source.isEmpty())
    object["source"_s] = goal.source;
  object["provedBy"_s] = jsonOf(goal.provedBy);
  object["uncountedProofs"_s] = jsonOf(goal.uncountedProofs);
  object["disprovedBy"_s] = jsonOf(goal.disprovedBy);
  object["provedByOneDriver"_s] = goal.onlyProver.has_value();
  return object;
}

QJsonObject jsonOf(const stats_t &stats) {
  QJsonArray mechanisms;
  for (const auto &[mechanismName, mechanism] : stats.metrics.mechanisms) {
    QJsonArray drivers;
    for (const auto &[driverName, driver] : mechanism->drivers) {
      QJsonObject object = jsonOfDriver(*driver);
      object["name"_s] = QString::fromStdString(driverName);
      object["provedAlone"_s] = stats.provedAloneBy(mechanismName, driverName);
      drivers.append(object);
    }
    QJsonObject object = jsonOfMechanism(*mechanism);
    object["name"_s] = QString::fromStdString(mechanismName);
    object["drivers"_s] = drivers;
    mechanisms.append(object);
  }
  return {{"totals"_s, jsonOfTotals(stats)}, {"mechanisms"_s, mechanisms}};
}

int finishJson(const char *kind, const QString &path, QJsonObject content, int status) {
  content["format"_s] = "kelvarune-pos"_s;
  content["version"_s] = FORMAT_VERSION;
  content["kind"_s] = QLatin1String(kind);
  content["file"_s] = path;
  content["component"_s] = QString::fromStdString(baseNameOfPath(path.toStdString()));
  return finish(QJsonDocument(content).toJson(), status);
}
