// The library reads what it can and raises an error where a status has no meaning. People are told
// the place instead, so all that could raise is looked for before any operation starts, in the
// library's own tables.

#include "PosDocument.h"

#include "Output.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <map>

using namespace kelvarune;

namespace {

QString at(const QString &path, int line, int column) {
  return path + QLatin1Char(':') + QString::number(line) + QLatin1Char(':') +
         QString::number(column) + ": "_s;
}

// Empty where the reader has said so itself.
QString whyUnreadable(const QString &path) {
  const QFileInfo info(path);
  if (!info.exists())
    return "no such file, give the path of a POS file"_s;
  if (!info.isFile())
    return "not a regular file, give the path of a POS file"_s;
  if (!info.isReadable())
    return "no permission to read it, see chmod"_s;
  return QString();
}

/// Collects the faults of one goal.
class FaultFinder {
public:
  FaultFinder(const place_t &place, std::vector<fault_t> &faults) : place(place), faults(faults) {}

  void check(const QDomElement &element, const QString &attribute, const QString &absent,
             const std::map<QString, pos::status_t> &known, const QString &who) {
    const QString text = element.attribute(attribute, absent);
    if (known.count(text) != 0)
      return;
    const QString what =
        text.isEmpty() && !element.hasAttribute(attribute)
            ? " has no "_s + attribute
            : " has the unknown "_s + attribute + " \""_s + text + QLatin1Char('"');
    faults.push_back({place, element.lineNumber(), element.columnNumber(), who + what});
  }

private:
  const place_t &place;
  std::vector<fault_t> &faults;
};

QString named(const QDomElement &element) {
  return element.tagName().toLower() + " \""_s + element.attribute(pos::ATTR_NAME) +
         QLatin1Char('"');
}

} // namespace

QString place_t::text() const {
  return shown(tag) + QLatin1Char('.') + QString::number(number);
}

std::vector<fault_t> faultsOf(const QDomElement &goal, const place_t &place, use_t use) {
  std::vector<fault_t> faults;
  FaultFinder finder(place, faults);
  const auto &statuses = pos::proofStatusOfAttrValue_dict();
  finder.check(goal, pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED, statuses, "the goal"_s);
  const QDomElement iapa = goal.firstChildElement(pos::TAG_IAPA);
  if (use == use_t::DERIVING && !iapa.isNull()) {
    const QDomElement verdict = iapa.firstChildElement(pos::TAG_STATUS);
    finder.check(verdict.isNull() ? iapa : verdict, pos::ATTR_VALUE, QString(), pos::ia_dict(),
                 "iapa"_s);
  }
  for (const QDomElement &mechanism : xml::children(goal, pos::TAG_MECHANISM)) {
    if (use == use_t::DERIVING)
      finder.check(mechanism, pos::ATTR_STATUS, QString(), pos::me_dict(), named(mechanism));
    else
      finder.check(mechanism, pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED, statuses,
                   named(mechanism));
    for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER))
      finder.check(driver, pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED, statuses,
                   named(driver) + " of "_s + named(mechanism));
  }
  return faults;
}

bool readPosDocument(const QString &path, QDomDocument &document) {
  const xml::read_result_t result = xml::readDocument(path, document);
  if (result.readable && result.wellFormed)
    return true;
  if (result.readable) {
    complain(at(path, result.line, result.column) + "not well-formed: "_s + result.message +
             "; correct it or restore a saved copy"_s);
    return false;
  }
  const QString why = whyUnreadable(path);
  if (!why.isEmpty())
    complain(path + ": "_s + why);
  return false;
}

bool readSoundPosDocument(const QString &path, use_t use, QDomDocument &document) {
  if (!readPosDocument(path, document))
    return false;
  std::vector<fault_t> faults;
  forEachPlacedGoal(document, [use, &faults](const QDomElement &goal, const place_t &place) {
    for (fault_t &fault : faultsOf(goal, place, use))
      faults.push_back(std::move(fault));
  });
  if (faults.empty())
    return true;
  const fault_t &first = faults.front();
  const int others = static_cast<int>(faults.size()) - 1;
  const QString more = others == 0 ? QString() : " (and %1 more)"_s.arg(counted(others, "place"));
  complain(at(path, first.line, first.column) + "goal "_s + first.place.text() + ": "_s +
           first.text + more + "; correct it, kelvarune-pos check lists all such places"_s);
  return false;
}
