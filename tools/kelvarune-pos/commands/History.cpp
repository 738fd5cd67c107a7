// The runs of a history, and dropping old ones.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "history/Database.h"
#include "history/Store.h"
#include "model/Times.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

using history::known_run_t;

namespace {

QString lastedText(const known_run_t &run) {
  return run.ended ? textOfSeconds(*run.ended - run.started) : "-"_s;
}

/// "cvc5 1.0.3, z3 4.8.12".
QString versionsText(const known_run_t &run) {
  QStringList versions;
  for (const ::history::prover_t &prover : run.provers)
    versions << shown(prover.name + QLatin1Char(' ') + ::history::shortVersion(prover));
  versions.sort();
  return versions.isEmpty() ? "-"_s : versions.join(", "_s);
}

QJsonArray jsonOfProvers(const known_run_t &run) {
  const auto textOrNull = [](const QString &text) {
    return text.isNull() ? QJsonValue() : QJsonValue(text);
  };
  QJsonArray array;
  for (const ::history::prover_t &prover : run.provers)
    array.append(QJsonObject{{"name"_s, prover.name},
                             {"path"_s, prover.path},
                             {"version"_s, textOrNull(prover.version)},
                             {"digest"_s, textOrNull(prover.digest)}});
  return array;
}

QJsonObject jsonOfRun(const known_run_t &run, const times_t &times) {
  return {{"run"_s, static_cast<int>(run.id)},
          {"started"_s, textOfTime(run.started)},
          {"took"_s, run.ended ? QJsonValue(*run.ended - run.started) : QJsonValue()},
          {"status"_s, run.status ? QJsonValue(*run.status) : QJsonValue()},
          {"host"_s, run.host},
          {"program"_s, run.program},
          {"jobs"_s, run.jobs},
          {"command"_s, run.command},
          {"provers"_s, jsonOfProvers(run)},
          {"times"_s, jsonOf(times)}};
}

} // namespace

int commands::history(const options_t &options) {
  const auto past = readHistory(options);
  if (!past)
    return EXIT_REFUSED;
  std::vector<plays_t> plays(past->runs.size());
  for (const ::history::play_t &play : past->plays)
    plays[play.run].push_back(&play);
  QJsonArray array;
  Table table("rlrrrrrrlll");
  table.add({"Run"_s, "Started"_s, "Seconds"_s, "Jobs"_s, "Plays"_s, "Proved"_s, "Work"_s,
             "Status"_s, "Host"_s, "Program"_s, "Provers"_s});
  for (std::size_t i = 0; i < past->runs.size(); ++i) {
    const known_run_t &run = past->runs[i];
    const times_t times = timesOf(plays[i]);
    array.append(jsonOfRun(run, times));
    table.add({QString::number(run.id), textOfTime(run.started), lastedText(run),
               QString::number(run.jobs), QString::number(times.plays),
               QString::number(times.proved), textOfSeconds(times.wall),
               run.status ? QString::number(*run.status) : "no end"_s, shown(run.host),
               shown(run.program), versionsText(run)});
  }
  if (options.json)
    return finishJson("history", options.file(), {{"runs"_s, array}});
  return finish(table.text().toUtf8());
}

int commands::prune(const options_t &options) {
  const QString path = historyOf(options, options.file());
  try {
    ::history::Database database(path.toStdString(), ::history::use_t::READING);
    const int gone = ::history::prune(database, options.keep);
    return finish("%1: dropped %2\n"_s.arg(shown(path), counted(gone, "run")).toUtf8());
  } catch (const ::history::Failure &failure) {
    complain("%1: %2"_s.arg(path, QString::fromUtf8(failure.what())));
    return EXIT_REFUSED;
  }
}
