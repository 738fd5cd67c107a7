// The registered mechanisms, and below each its drivers.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "files/Reading.h"
#include "model/Goals.h"
#include "output/Json.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QJsonArray>

using namespace kelvarune;

int commands::list(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::COUNTING, document))
    return EXIT_REFUSED;
  QJsonArray array;
  QString text;
  for (const pos::registered_t &mechanism : pos::registeredMechanisms(document)) {
    array.append(QJsonObject{{"name"_s, mechanism.name},
                             {"drivers"_s, QJsonArray::fromStringList(mechanism.drivers)}});
    text += shown(mechanism.name) + QLatin1Char('\n');
    for (const QString &driver : mechanism.drivers)
      text += "  "_s + shown(driver) + QLatin1Char('\n');
  }
  if (options.json)
    return finishJson("list", options.file(), {{"mechanisms"_s, array}});
  return finish(text.toUtf8());
}
