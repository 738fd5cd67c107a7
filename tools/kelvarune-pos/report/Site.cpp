#include "report/Site.h"

#include "input/Paths.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "report/Assembly.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QSet>
#include <QUrl>

#include <algorithm>

using namespace kelvarune;

namespace {

/// So long that names stay apart, and so short that every file system takes them.
constexpr int LONGEST_FILE_NAME = 60;
/// Of each kind and component; the rest is only counted.
constexpr int MOST_CHANGES = 100;

// A name as a file may be called everywhere.
QString fileNameOf(const QString &name) {
  QString text = name.left(LONGEST_FILE_NAME);
  std::replace_if(
      text.begin(), text.end(),
      [](QChar c) {
        return !c.isLetterOrNumber() && c != QLatin1Char('-') && c != QLatin1Char('.');
      },
      QLatin1Char('_'));
  return text.startsWith(QLatin1Char('.')) ? QLatin1Char('_') + text : text;
}

QString addressOf(const QString &path) {
  return QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

QJsonValue statusName(const std::optional<pos::status_t> &status) {
  return status ? QJsonValue(pos::strOfProofStatus(*status)) : QJsonValue();
}

const char *const KIND_NAMES[] = {"lost", "gained", "changed", "disappeared", "appeared"};

QJsonObject jsonOfChanges(const component_t &component) {
  QJsonObject object;
  for (const difference_kind_t kind :
       {difference_kind_t::LOST, difference_kind_t::GAINED, difference_kind_t::CHANGED,
        difference_kind_t::DISAPPEARED, difference_kind_t::APPEARED}) {
    QJsonArray goals;
    for (const change_t &change : component.changes) {
      if (change.kind == kind && goals.size() < MOST_CHANGES)
        goals.append(
            QJsonArray{textOf(change.place), statusName(change.before), statusName(change.after)});
    }
    const QString name = QLatin1String(KIND_NAMES[static_cast<int>(kind)]);
    object[name] = QJsonObject{{"count"_s, countOf(component, kind)}, {"goals"_s, goals}};
  }
  return object;
}

QJsonObject jsonOf(const component_t &component, const QString &directory, const QString &page) {
  QJsonObject object = jsonOf(component.stats);
  object["name"_s] = shown(component.name);
  object["file"_s] = shown(pathBelow(directory, component.path));
  object["state"_s] = component.isGone ? "gone"_s : component.isRead ? "read"_s : "unreadable"_s;
  object["page"_s] = addressOf(page);
  object["isNew"_s] = component.isNew;
  object["faults"_s] = QJsonArray::fromStringList(component.faults);
  object["seconds"_s] = component.times ? QJsonValue(component.times->wall) : QJsonValue();
  object["changes"_s] = jsonOfChanges(component);
  return object;
}

QDateTime newest(const overview_t &overview) {
  QDateTime latest;
  for (const component_t &component : overview.components) {
    if (component.isRead && (!latest.isValid() || component.modified > latest))
      latest = component.modified;
  }
  return latest;
}

} // namespace

QStringList pagePaths(const QStringList &names) {
  QSet<QString> taken; // small letters, for file systems that do not tell them from capitals
  QStringList paths;
  for (const QString &name : names) {
    const QString usual = fileNameOf(name);
    QString unique = usual;
    for (int i = 2; taken.contains(unique.toLower()); ++i)
      unique = usual + QLatin1Char('_') + QString::number(i);
    taken.insert(unique.toLower());
    paths.append("components/"_s + unique + ".html"_s);
  }
  return paths;
}

QString homeAddress() {
  return "../index.html"_s;
}

QByteArray indexPage(const overview_t &overview, const QStringList &paths) {
  QJsonArray components;
  for (std::size_t i = 0; i < overview.components.size(); ++i)
    components.append(
        jsonOf(overview.components[i], overview.directory, paths.value(static_cast<int>(i))));
  QJsonObject data = jsonOf(overview.total);
  data["name"_s] = shown(overview.name);
  data["against"_s] = overview.against;
  data["components"_s] = components;
  data["seconds"_s] = overview.hasTimes ? QJsonValue(overview.seconds) : QJsonValue();
  data["modified"_s] = newest(overview).toUTC().toString(Qt::ISODate);
  data["program"_s] = "kelvarune-pos "_s + QCoreApplication::applicationVersion();
  return assembled("index.html", {"base.css", "index.css"}, {"parts.js", "index.js"}, data);
}
