// The goals of a component in lines, for people and for sync.

#include "Commands.h"
#include "Component.h"
#include "Options.h"
#include "Paths.h"
#include "files/Reading.h"
#include "output/Output.h"
#include "output/Words.h"
#include "pos/Goals.h"
#include "text/Literals.h"

#include <QDomDocument>

using namespace kelvarune;
using goals::PogFile;

namespace {

/// The statuses of the goals by their places; none when there is no status file.
class StatusesByPlace {
public:
  bool read(const std::string &path) {
    const bool isThere = !paths::realPath(path).empty();
    if (isThere && !readSound(QString::fromStdString(path), pos::use_t::COUNTING, document))
      return false;
    obligations = pos::obligationsOf(document);
    return true;
  }

  /// Nothing where the file says nothing of this goal.
  cell_t cellFor(std::size_t obligation, const goals::goal_ref_t &goal) const {
    const bool isThere =
        obligation < obligations.size() && goal.number <= obligations[obligation].goals.size();
    if (!isThere)
      return QString();
    const QDomElement &element = obligations[obligation].goals[goal.number - 1];
    const QString digest = element.attribute(pos::ATTR_DIGEST);
    if (!digest.isEmpty() && digest.toStdString() != goal.digest)
      return "out of step"_s;
    return statusCell(pos::statusOf(element));
  }

private:
  QDomDocument document;
  std::vector<pos::obligation_t> obligations;
};

pos::goal_name_t nameOf(const goals::goal_ref_t &goal) {
  return {QString::fromStdString(goal.tag), static_cast<int>(goal.number)};
}

} // namespace

int commands::list(const options_t &options) {
  const std::string &pogPath = options.arguments[0];
  const std::optional<PogFile> pog = component::open(pogPath);
  StatusesByPlace statuses;
  if (!pog || !statuses.read(options.pos.empty() ? component::posPathOf(pogPath) : options.pos))
    return EXIT_REFUSED;
  Table table("llll");
  std::size_t obligation = 0;
  const auto fault =
      pog->visit({[&](const std::string &, std::size_t) { ++obligation; },
                  [&](const goals::goal_ref_t &goal) {
                    const QString expected = QString::fromStdString(goal.expected);
                    table.add({textOf(nameOf(goal)), statuses.cellFor(obligation - 1, goal),
                               component::sourceOf(goal),
                               expected.isEmpty() ? expected : "expects "_s + shown(expected)});
                  }});
  if (!fault)
    return finish(table.text().toUtf8());
  complain(QString::fromStdString(*fault));
  return EXIT_REFUSED;
}

int commands::digests(const options_t &options) {
  const std::optional<PogFile> pog = component::open(options.arguments[0]);
  if (!pog)
    return EXIT_REFUSED;
  std::string text;
  const auto fault = pog->visit({[&](const std::string &tag, std::size_t goals) {
                                   if (goals == 0)
                                     text += tag + "\t0\t-\n";
                                 },
                                 [&](const goals::goal_ref_t &goal) {
                                   text += goal.tag + '\t' + std::to_string(goal.number) + '\t' +
                                           goal.digest + '\n';
                                 }});
  if (!fault)
    return finish(QByteArray::fromStdString(text));
  complain(QString::fromStdString(*fault));
  return EXIT_REFUSED;
}
