// Everything from files to a page in one command. The other programs do the work, as anybody could
// call them; what is proved already stands in the status file, so that a later call only plays the
// rest.

#include "Commands.h"
#include "Component.h"
#include "Making.h"
#include "Options.h"
#include "Paths.h"
#include "Stepping.h"
#include "files/Locking.h"
#include "files/Reading.h"
#include "goals/Portfolio.h"
#include "model/Goals.h"
#include "output/Output.h"
#include "output/Words.h"
#include "program/Beside.h"
#include "text/Literals.h"

#include <map>
#include <variant>

using namespace kelvarune;
using goals::PogFile;

namespace {

constexpr int TOLD_GOALS = 50;
constexpr int SOME_TOOL_FAILED = 3; // of kelvarune-play

/// Beside the files, under the name of their directory.
std::string nameFor(const options_t &options) {
  std::vector<std::string> all;
  for (const std::string &path : options.arguments)
    all.push_back(paths::realPath(path));
  const std::string directory = commonDirectory(all);
  const std::string here = paths::relativePath(directory, paths::realPath("."));
  const bool isBelow = !here.empty() && here.compare(0, 2, "..") != 0;
  return paths::joined(isBelow ? here : directory, paths::nameOf(directory));
}

bool bringUp(const component_paths_t &files, const options_t &options) {
  const Locks locks({QString::fromStdString(files.pos)}, options.wait);
  recipe_t recipe;
  stepped_t stepped;
  return locks && recipeOfImport(options, files, recipe) &&
         bringInStep(files, recipe, options, stepped) &&
         printOut((stepped.text + QLatin1Char('\n')).toUtf8());
}

/// The mechanisms for the languages that the goals are in. None after a complaint.
QStringList mechanismsFor(const std::string &pogPath) {
  QStringList mechanisms;
  const auto found = goals::portfolioFor(pogPath);
  if (const auto *fault = std::get_if<std::string>(&found))
    complain(QString::fromStdString(*fault));
  else
    for (const std::string &mechanism : std::get<std::vector<std::string>>(found))
      mechanisms << QString::fromStdString(mechanism);
  return mechanisms;
}

int play(const component_paths_t &files, const QStringList &mechanisms, const options_t &options) {
  std::vector<std::string> words = {
      "-s", files.pos, "-p", files.pog, "--strict", "-c", options.concurrency.toStdString()};
  for (const QString &mechanism : mechanisms)
    words.insert(words.end(), {"-m", mechanism.toStdString()});
  if (options.retry)
    words.emplace_back("--retry");
  return runBeside("kelvarune-play", words, options.verbose ? output_t::SHOWN : output_t::HIDDEN);
}

/// The goals that are not proved, and how many are what. False after a complaint.
bool summarise(const std::string &posPath, QString &text) {
  QDomDocument document;
  if (!readSound(QString::fromStdString(posPath), pos::use_t::COUNTING, document))
    return false;
  Table table("lll");
  std::map<pos::status_t, int> counts;
  int left = 0;
  const std::vector<pos::goal_t> all = pos::goalsOf(document);
  for (const pos::goal_t &goal : all) {
    const pos::status_t status = pos::statusOf(goal.element);
    ++counts[status];
    if (status == pos::PROVED || ++left > TOLD_GOALS)
      continue;
    table.add(
        {shown(goal.element.attribute(pos::ATTR_SOURCE)), statusCell(status), textOf(goal.place)});
  }
  text = table.text();
  if (left > TOLD_GOALS)
    text +=
        "and %1 more; kelvarune-goals list names all\n"_s.arg(counted(left - TOLD_GOALS, "goal"));
  text += "%1: %2 of %3 proved"_s.arg(QString::fromStdString(posPath),
                                      QString::number(counts[pos::PROVED]),
                                      counted(static_cast<int>(all.size()), "goal"));
  if (counts[pos::UNRELIABLY_PROVED] > 0)
    text += ", %1 unreliably"_s.arg(counts[pos::UNRELIABLY_PROVED]);
  if (counts[pos::DISPROVED] > 0)
    text += ", %1 disproved"_s.arg(counts[pos::DISPROVED]);
  text += QLatin1Char('\n');
  return true;
}

} // namespace

int commands::prove(const options_t &options) {
  const std::string pogPath =
      component::pogPathOf(options.output.empty() ? nameFor(options) : options.output);
  const component_paths_t files = {pogPath, component::posPathOf(pogPath)};
  if (component::isAnothers(pogPath) || !bringUp(files, options))
    return EXIT_REFUSED;
  const QStringList mechanisms =
      options.mechanisms.isEmpty() ? mechanismsFor(pogPath) : options.mechanisms;
  if (mechanisms.isEmpty())
    return EXIT_REFUSED;
  const int played = play(files, mechanisms, options);
  if (played != EXIT_DONE && played != EXIT_FOUND && played != SOME_TOOL_FAILED)
    return played < 0 ? EXIT_REFUSED : played;

  const std::string page = withoutSuffix(pogPath) + ".html";
  QString text;
  if (!summarise(files.pos, text) ||
      runBeside("kelvarune-pos", {"report", "--html", "-o", page, files.pos}, output_t::SHOWN) !=
          EXIT_DONE)
    return EXIT_REFUSED;
  return finish((text + "page: "_s + paths::textOf(page) + QLatin1Char('\n')).toUtf8(), played);
}
