// The library knows what is wrong with a file; people get the first place and a remedy.

#include "files/Reading.h"

#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QFileInfo>

using namespace kelvarune;

namespace {

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

} // namespace

QString whyRefused(const QString &path, const std::vector<pos::fault_t> &faults) {
  const pos::fault_t &first = faults.front();
  if (first.kind == pos::fault_kind_t::UNREADABLE) {
    const QString why = whyUnreadable(path);
    return path + ": "_s + (why.isEmpty() ? "cannot be read"_s : why);
  }
  const QString place = placed(path, first.line, first.column);
  if (first.kind == pos::fault_kind_t::MALFORMED)
    return place + "not well-formed: "_s + first.text + "; correct it or restore a saved copy"_s;
  if (first.kind == pos::fault_kind_t::NO_STATUSES)
    return place + textOf(first) + ", give the path of a POS file"_s;
  const int others = static_cast<int>(faults.size()) - 1;
  const QString more = others == 0 ? QString() : " (and %1 more)"_s.arg(counted(others, "place"));
  return place + "goal "_s + textOf(first.place) + ": "_s + textOf(first) + more +
         "; correct it, kelvarune-pos check lists all such places"_s;
}

void refuse(const QString &path, const std::vector<pos::fault_t> &faults) {
  const bool isSaid = // by the reader
      faults.front().kind == pos::fault_kind_t::UNREADABLE && whyUnreadable(path).isEmpty();
  if (!isSaid)
    complain(whyRefused(path, faults));
}

bool isUnusable(const std::vector<pos::fault_t> &faults) {
  using pos::fault_kind_t;
  const auto isOfFile = [](fault_kind_t kind) {
    return kind == fault_kind_t::UNREADABLE || kind == fault_kind_t::MALFORMED ||
           kind == fault_kind_t::NO_STATUSES;
  };
  return !faults.empty() && isOfFile(faults.front().kind);
}

bool readSound(const QString &path, pos::use_t use, QDomDocument &document) {
  const std::vector<pos::fault_t> faults = pos::readFaults(path, use, document);
  if (!faults.empty())
    refuse(path, faults);
  return faults.empty();
}

bool readGoals(const QString &path, std::vector<goal_t> &goals) {
  QDomDocument document;
  if (!readSound(path, pos::use_t::COUNTING, document))
    return false;
  goals = goalsOf(document);
  return true;
}
