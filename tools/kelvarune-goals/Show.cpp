// The goals' own scripts. A file is read once for all its goals that follow each other.

#include "Commands.h"
#include "Component.h"
#include "Options.h"
#include "Paths.h"
#include "Texts.h"
#include "commandline/CommandTable.h"
#include "file/Io.h"
#include "goals/Source.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <filesystem>

using namespace kelvarune;
using goals::goal_ref_t;
using goals::PogFile;

namespace {

using take_t = std::function<bool(const goal_ref_t &, const std::string &script)>;

/// Finds the scripts of goals, which may be anywhere.
class Scripts {
public:
  Scripts(const std::string &pogPath, take_t take)
      : directory(paths::parentOf(pogPath)), take(std::move(take)) {}

  /// Takes a goal; it may wait for others of its file.
  void add(goal_ref_t goal) {
    if (!goals.empty() && (goals.front().file != goal.file || goals.back().check >= goal.check))
      flush();
    if (goal.text)
      good = take(goal, *goal.text) && good;
    else
      goals.push_back(std::move(goal));
  }

  /// The rest. False when a script could not be found or taken; complaints said why.
  bool finish() {
    flush();
    return good;
  }

private:
  void flush() {
    if (goals.empty())
      return;
    const goal_ref_t &first = goals.front();
    const std::string path = first.file[0] == '/' ? first.file : directory + '/' + first.file;
    const auto text = goals::readSource(path);
    if (const auto *error = std::get_if<goals::source_error_t>(&text)) {
      complain(paths::textOf(path) + ": cannot be read: "_s + QString::fromStdString(error->text));
      good = false;
    } else {
      takeFrom(std::get<std::string>(text), path);
    }
    goals.clear();
  }

  void takeFrom(const std::string &text, const std::string &path) {
    std::vector<goals::check_t> checks;
    for (const goal_ref_t &goal : goals)
      checks.push_back({goal.check, goal.line, goal.digest, {}, {}});
    std::vector<bool> found(goals.size());
    visitTexts(goals.front().language, text, path, checks,
               [&](std::size_t i, const std::string &script) {
                 found[i] = true;
                 good = take(goals[i], script) && good;
               });
    if (std::find(found.begin(), found.end(), false) == found.end())
      return;
    complain(paths::textOf(path) +
             ": has changed since the POG was made; kelvarune-goals sync brings it in step"_s);
    good = false;
  }

  const std::string directory;
  const take_t take;
  std::vector<goal_ref_t> goals;
  bool good = true;
};

/// The index of the first obligation with this tag. Nothing after a complaint.
std::optional<std::size_t> obligationOf(const PogFile &pog, const pos::goal_name_t &name) {
  std::optional<std::size_t> found;
  std::size_t index = 0;
  QStringList tags;
  const std::string tag = name.tag.toStdString();
  const auto fault = pog.visit({[&](const std::string &here, std::size_t) {
                                  if (!found && here == tag)
                                    found = index;
                                  ++index;
                                  if (!found)
                                    tags << QString::fromStdString(here);
                                },
                                nullptr});
  if (fault)
    complain(QString::fromStdString(*fault));
  else if (!found)
    complain("there is no obligation "_s + shown(name.tag) + commandline::hintFor(name.tag, tags));
  return fault ? std::nullopt : found;
}

/// The path of a goal's file below the directory of an export.
std::string fileNameOf(const goal_ref_t &goal) {
  std::filesystem::path path;
  for (const auto &part : std::filesystem::path("./" + goal.tag).relative_path())
    path /= part == ".." ? "_" : part;
  return path.lexically_normal().string() + "." + std::to_string(goal.number) +
         (goal.language == goals::language_t::SMTLIB ? ".smt2" : ".p");
}

bool writeScript(const std::string &path, const std::string &script) {
  std::error_code error;
  std::filesystem::create_directories(paths::parentOf(path), error);
  QSaveFile file(QString::fromStdString(path));
  const auto size = static_cast<qint64>(script.size());
  if (!error && file.open(QIODevice::WriteOnly) && file.write(script.data(), size) == size &&
      file.commit())
    return true;
  complain(paths::textOf(path) + ": cannot be written: "_s +
           (error ? QString::fromStdString(error.message()) : file.errorString()));
  return false;
}

} // namespace

int commands::show(const options_t &options) {
  const std::string &pogPath = options.arguments[0];
  const std::optional<PogFile> pog = component::open(pogPath);
  if (!pog)
    return EXIT_REFUSED;
  std::string text;
  Scripts scripts(pogPath, [&text](const goal_ref_t &, const std::string &script) {
    text += script;
    return true;
  });
  for (const pos::goal_name_t &name : options.goals) {
    const auto obligation = obligationOf(*pog, name);
    if (!obligation)
      return EXIT_REFUSED;
    auto goal = pog->find(*obligation, static_cast<std::size_t>(name.number) - 1);
    if (const auto *fault = std::get_if<std::string>(&goal)) {
      complain(textOf(name) + ": there is no such goal: "_s + QString::fromStdString(*fault));
      return EXIT_REFUSED;
    }
    scripts.add(std::get<goal_ref_t>(std::move(goal)));
  }
  return scripts.finish() ? finish(QByteArray::fromStdString(text)) : EXIT_REFUSED;
}

int commands::exportGoals(const options_t &options) {
  const std::string &pogPath = options.arguments[0];
  const std::string &directory = options.arguments[1];
  const std::optional<PogFile> pog = component::open(pogPath);
  if (!pog)
    return EXIT_REFUSED;
  int written = 0;
  Scripts scripts(pogPath, [&](const goal_ref_t &goal, const std::string &script) {
    ++written;
    return writeScript(directory + '/' + fileNameOf(goal), script);
  });
  std::vector<std::size_t> sizes;
  const auto fault = pog->visit(
      {[&sizes](const std::string &, std::size_t goals) { sizes.push_back(goals); }, nullptr});
  if (fault)
    complain(QString::fromStdString(*fault));
  bool good = !fault;
  for (std::size_t i = 0; i < sizes.size() && good; ++i) {
    for (std::size_t j = 0; j < sizes[i] && good; ++j) {
      auto goal = pog->find(i, j);
      good = goal.index() == 0;
      if (good)
        scripts.add(std::get<goal_ref_t>(std::move(goal)));
      else
        complain(QString::fromStdString(std::get<std::string>(goal)));
    }
  }
  if (!scripts.finish() || !good)
    return EXIT_REFUSED;
  return finish("%1: %2\n"_s.arg(paths::textOf(directory), counted(written, "goal")).toUtf8());
}
