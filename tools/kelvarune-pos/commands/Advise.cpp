// What the recorded times say about order and limits.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Past.h"
#include "model/Advice.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

using history::past_t;

namespace {

constexpr int SHOWN_OF_HANGING = 8;

QString limitText(const step_t &step) {
  return step.timeLimit ? "limit %1 s"_s.arg(*step.timeLimit) : QString();
}

QString driverNames(const past_t &past, const std::vector<std::size_t> &drivers) {
  QStringList names;
  for (const std::size_t driver : drivers)
    names << nameOf(past.drivers[driver]);
  return names.isEmpty() ? "none"_s : names.join(", "_s);
}

QString hangingText(const past_t &past, const std::vector<std::size_t> &goals) {
  QStringList names;
  for (const std::size_t goal : goals) {
    if (names.size() == SHOWN_OF_HANGING)
      return names.join(", "_s) + ", ..."_s;
    names << nameOf(past.goals[goal]);
  }
  return names.join(", "_s);
}

/// How much of a sum was never measured.
QString estimatesText(int estimates) {
  return estimates == 0 ? QString()
                        : ", %1 of it never tried and taken for the driver's mean"_s.arg(
                              counted(estimates, "time"));
}

QString savedText(const advice_t &advice) {
  const double saved = advice.wall - advice.advisedWall;
  const double share = advice.wall > 0 ? 100 * saved / advice.wall : 0;
  return "%1 s (%2 %)"_s.arg(textOfSeconds(saved), QString::number(share, 'f', 0));
}

QString adviceText(const past_t &past, const advice_t &advice) {
  QString text = "From %1 of the %2 pairs of %3 and %4:\n"_s.arg(
      QString::number(advice.known), QString::number(advice.goals * advice.drivers),
      counted(advice.drivers, "driver"), counted(advice.goals, "goal"));
  text += "As it is: %1 s%2\n  %3\n"_s.arg(
      textOfSeconds(advice.wall), estimatesText(advice.estimates), driverNames(past, advice.order));
  text += "Advised, with the same results: %1 s%2\n"_s.arg(textOfSeconds(advice.advisedWall),
                                                           estimatesText(advice.advisedEstimates));
  Table table("lrl");
  for (const step_t &step : advice.steps)
    table.add({"  "_s + nameOf(past.drivers[step.driver]), textOfSeconds(step.wall) + " s"_s,
               limitText(step)});
  text += table.text();
  text += "Left out: %1\nSaved: %2\n\n"_s.arg(driverNames(past, advice.leftOut), savedText(advice));
  text += "Needed by no goal: %1\n"_s.arg(driverNames(past, advice.neededByNone));
  for (const std::size_t driver : advice.order) {
    const std::vector<std::size_t> &goals = advice.hanging[driver];
    if (!goals.empty())
      text += "%1 on %2 alone: %3\n"_s.arg(counted(static_cast<int>(goals.size()), "goal"),
                                           nameOf(past.drivers[driver]), hangingText(past, goals));
  }
  return text;
}

QJsonArray jsonOfDriverList(const past_t &past, const std::vector<std::size_t> &drivers) {
  QJsonArray array;
  for (const std::size_t driver : drivers)
    array.append(jsonOf(past.drivers[driver]));
  return array;
}

QJsonObject jsonOfAdvice(const past_t &past, const advice_t &advice) {
  QJsonArray steps;
  for (const step_t &step : advice.steps) {
    QJsonObject object = jsonOf(past.drivers[step.driver]);
    object["timeLimit"_s] = step.timeLimit ? QJsonValue(*step.timeLimit) : QJsonValue();
    object["wall"_s] = step.wall;
    steps.append(object);
  }
  QJsonArray hanging;
  for (const std::size_t driver : advice.order) {
    QJsonArray goals;
    for (const std::size_t goal : advice.hanging[driver])
      goals.append(jsonOf(past.goals[goal]));
    QJsonObject object = jsonOf(past.drivers[driver]);
    object["goals"_s] = goals;
    hanging.append(object);
  }
  return {{"goals"_s, advice.goals},
          {"pairs"_s, advice.goals * advice.drivers},
          {"pairsKnown"_s, advice.known},
          {"order"_s, jsonOfDriverList(past, advice.order)},
          {"wall"_s, advice.wall},
          {"estimates"_s, advice.estimates},
          {"steps"_s, steps},
          {"advisedWall"_s, advice.advisedWall},
          {"advisedEstimates"_s, advice.advisedEstimates},
          {"leftOut"_s, jsonOfDriverList(past, advice.leftOut)},
          {"neededByNone"_s, jsonOfDriverList(past, advice.neededByNone)},
          {"hanging"_s, hanging}};
}

} // namespace

int commands::advise(const options_t &options) {
  const auto past = readHistory(options);
  if (!past)
    return EXIT_REFUSED;
  const advice_t advice = adviceFor(*past);
  if (options.json)
    return finishJson("advise", options.file(), jsonOfAdvice(*past, advice));
  return finish(adviceText(*past, advice).toUtf8());
}
