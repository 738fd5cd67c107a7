// A component that was made of the same files keeps the ways in which it was made. With others it
// is made anew, as kelvarune-goals import does; equal goals keep their statuses either way.

#include "Sources.h"

#include "goals/PogFile.h"
#include "goals/Portfolio.h"
#include "output/Output.h"
#include "program/Beside.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <filesystem>
#include <set>
#include <variant>

namespace fs = std::filesystem;

using namespace kelvarune;
using goals::PogFile;

namespace {

constexpr int OUT_OF_STEP = 1; // of kelvarune-goals sync --check

std::set<fs::path> pathsOf(const std::vector<std::string> &names, const fs::path &directory) {
  std::set<fs::path> paths;
  for (const std::string &name : names) {
    std::error_code error;
    const fs::path path = (directory / name).lexically_normal();
    paths.insert(fs::weakly_canonical(path, error));
  }
  return paths;
}

/// Whether the POG was made of these files.
bool isMadeOf(const std::vector<std::string> &sources, const fs::path &pogPath) {
  const auto pog = PogFile::open(pogPath);
  if (!std::holds_alternative<PogFile>(pog))
    return false;
  const auto header = std::get<PogFile>(pog).header();
  const auto *known = std::get_if<goals::pog_header_t>(&header);
  return known && pathsOf(known->sources, fs::absolute(pogPath).parent_path()) ==
                      pathsOf(sources, fs::current_path());
}

/// What kelvarune-goals is to do; empty in a dry run where only a run could.
std::vector<std::string> wordsFor(const play_options_t &options,
                                  const std::vector<std::string> &sources) {
  const std::string pogPath = options.pogPath.toStdString();
  const bool isSame = isMadeOf(sources, pogPath);
  if (options.dryRun)
    return isSame ? std::vector<std::string>{"sync", "--quiet", "--check", "--", pogPath}
                  : std::vector<std::string>();
  std::vector<std::string> words = {isSame ? "sync" : "import", "--quiet"};
  if (options.wait)
    words.emplace_back("--wait");
  if (isSame) {
    words.insert(words.end(), {"--", pogPath});
    return words;
  }
  words.insert(words.end(), {"--output", pogPath, "--"});
  words.insert(words.end(), sources.begin(), sources.end());
  return words;
}

/// Those for the languages of the goals. False after a complaint.
bool chooseMechanisms(play_options_t &options) {
  const auto found = goals::portfolioFor(options.pogPath.toStdString());
  if (const auto *fault = std::get_if<std::string>(&found)) {
    complain(QString::fromStdString(*fault));
    return false;
  }
  for (const std::string &mechanism : std::get<std::vector<std::string>>(found))
    options.mechanisms << QString::fromStdString(mechanism);
  if (options.mechanisms.isEmpty())
    complain(options.pogPath + ": has no goals by which a mechanism could be chosen; name one by "
                               "--mechanism."_s);
  findInstalled(options);
  return !options.mechanisms.isEmpty();
}

bool callGoals(const play_options_t &options, const std::vector<std::string> &sources) {
  const std::vector<std::string> words = wordsFor(options, sources);
  const int status =
      words.empty() ? OUT_OF_STEP : runBeside("kelvarune-goals", words, output_t::AS_ERRORS);
  if (status == OUT_OF_STEP)
    complain(options.pogPath + ": a run would bring it in step first."_s);
  return status == EXIT_DONE || status == OUT_OF_STEP;
}

} // namespace

std::optional<int> bringInStep(play_options_t &options) {
  if (options.sources.isEmpty())
    return std::nullopt;
  std::vector<std::string> sources;
  for (const QString &source : std::as_const(options.sources)) {
    // Of what is gone kelvarune-goals takes the goals away, with their proofs.
    if (!QFileInfo::exists(source)) {
      complain(source + ": no such file; --sources names files with goals and directories of "
                        "them."_s);
      return EXIT_REFUSED;
    }
    sources.push_back(source.toStdString());
  }
  if (options.dryRun && !QFileInfo(options.pogPath).isFile()) {
    complain(options.pogPath + ": a run would make it first."_s);
    return EXIT_DONE;
  }
  const bool isReady =
      callGoals(options, sources) && (!options.mechanisms.isEmpty() || chooseMechanisms(options));
  return isReady ? std::nullopt : std::optional<int>(EXIT_REFUSED);
}
