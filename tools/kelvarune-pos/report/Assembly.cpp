#include "report/Assembly.h"

#include "text/Literals.h"

#include <QFile>
#include <QJsonDocument>

using namespace kelvarune;

namespace {

QByteArray resource(const char *name) {
  QFile file(":/report/"_s + QLatin1String(name));
  file.open(QIODevice::ReadOnly);
  return file.readAll();
}

QByteArray resources(std::initializer_list<const char *> names) {
  QByteArray all;
  for (const char *name : names)
    all += resource(name);
  return all;
}

// Within a script element only "<" could end it or start a comment.
QByteArray scriptJson(const QJsonObject &data) {
  return QJsonDocument(data).toJson(QJsonDocument::Compact).replace("<", "\\u003c");
}

} // namespace

QByteArray assembled(const char *markup, std::initializer_list<const char *> styles,
                     std::initializer_list<const char *> scripts, const QJsonObject &data) {
  QByteArray page = resource(markup);
  page.replace("@STYLE@", resources(styles));
  page.replace("@SCRIPT@", resources(scripts));
  page.replace("@DATA@", scriptJson(data)); // last: it may hold any of these marks
  return page;
}
