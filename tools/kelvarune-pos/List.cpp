// The registered mechanisms in the order of their first appearance, and below each its drivers in
// theirs: the order in which they were played.

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "PosDocument.h"
#include "text/Literals.h"

#include <QJsonArray>

#include <map>

using namespace kelvarune;

namespace {

using names_t = std::map<QString, QStringList>;

names_t driversOf(const QDomDocument &document) {
  names_t names;
  pos::forEachGoal(document, [&names](const QDomElement &goal) {
    for (const QDomElement &mechanism : xml::children(goal, pos::TAG_MECHANISM)) {
      QStringList &drivers = names[mechanism.attribute(pos::ATTR_NAME)];
      for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER)) {
        const QString name = driver.attribute(pos::ATTR_NAME);
        if (!drivers.contains(name))
          drivers.append(name);
      }
    }
  });
  return names;
}

} // namespace

int commands::list(const options_t &options) {
  QDomDocument document;
  std::vector<std::string> names;
  if (!readSoundPosDocument(options.file(), use_t::COUNTING, document) ||
      !pos::getMechanisms(options.file().toStdString(), names))
    return EXIT_REFUSED;
  const names_t drivers = driversOf(document);
  QJsonArray array;
  QString text;
  for (const std::string &bytes : names) {
    const QString name = QString::fromStdString(bytes);
    const QStringList &ofMechanism = drivers.at(name);
    array.append(
        QJsonObject{{"name"_s, name}, {"drivers"_s, QJsonArray::fromStringList(ofMechanism)}});
    text += shown(name) + QLatin1Char('\n');
    for (const QString &driver : ofMechanism)
      text += "  "_s + shown(driver) + QLatin1Char('\n');
  }
  if (options.json)
    return finishJson("list", options.file(), {{"mechanisms"_s, array}});
  return finish(text.toUtf8());
}
