// A component is always made anew from its files, beside the one that is there, and then compared:
// so the first import and every later one are the same work. The POG takes its place before the
// status file does. Between the two the component is out of step, which whoever plays it notices,
// and the next sync mends.

#include "Stepping.h"

#include "Component.h"
#include "Draft.h"
#include "Options.h"
#include "Paths.h"
#include "Statuses.h"
#include "file/Io.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <cerrno>
#include <cstring>
#include <iterator>

using namespace kelvarune;
using goals::PogFile;

namespace {

constexpr int TOLD_FAULTS = 20;
constexpr std::size_t TOLD_SOURCES = 3;

/// Says what is wrong with the files. False when nothing is to be made of the others.
bool acceptFaults(const Maker &maker, const recipe_t &recipe) {
  const QStringList &faults = maker.faults();
  for (const QString &fault : faults.mid(0, TOLD_FAULTS))
    complain(fault);
  if (faults.size() > TOLD_FAULTS)
    complain("and %1 more"_s.arg(counted(faults.size() - TOLD_FAULTS, "file")));
  if (!faults.isEmpty() && !recipe.skipBroken) {
    complain("%1 cannot be used, nothing was changed; --skip-broken leaves %2 out"_s.arg(
        counted(faults.size(), "file"), faults.size() == 1 ? "it"_s : "them"_s));
    return false;
  }
  if (maker.goals() > 0)
    return true;
  QStringList places;
  for (const std::string &source : recipe.sources)
    places << paths::textOf(source);
  complain("no goals in %1, nothing was changed"_s.arg(
      recipe.sources.size() > TOLD_SOURCES ? counted(places.size(), "path") : places.join(", "_s)));
  return false;
}

bool hasSameBytes(const std::string &first, const std::string &second) {
  const file::Descriptor files[] = {file::openFile(first, O_RDONLY),
                                    file::openFile(second, O_RDONLY)};
  std::string bytes[] = {std::string(1 << 16, '\0'), std::string(1 << 16, '\0')};
  ssize_t sizes[] = {-1, -1};
  do {
    for (int i = 0; i < 2; ++i)
      sizes[i] = file::readSome(files[i].get(), bytes[i].data(), bytes[i].size());
  } while (sizes[0] > 0 && sizes[0] == sizes[1] &&
           std::memcmp(bytes[0].data(), bytes[1].data(), static_cast<std::size_t>(sizes[0])) == 0);
  return sizes[0] == 0 && sizes[1] == 0;
}

/// Without a change: whether both files hold the goals that there are now.
bool check(const component_paths_t &files, const PogFile &fresh, const Statuses &statuses,
           stepped_t &stepped) {
  const std::optional<PogFile> old = component::open(files.pog);
  if (!old)
    return false;
  const bool isPogInStep = component::haveSameGoals(*old, fresh);
  stepped.text = statuses.exist() ? statuses.text() : paths::textOf(files.pos) + ": no such file"_s;
  if (!isPogInStep && statuses.isInStep())
    stepped.text += "\n"_s + paths::textOf(files.pog) + ": out of step with its files"_s;
  stepped.wasInStep = isPogInStep && statuses.isInStep();
  return true;
}

} // namespace

bool bringInStep(const component_paths_t &files, const recipe_t &recipe, const options_t &options,
                 stepped_t &stepped) {
  Draft draft;
  int error = options.check ? draft.createAside() : draft.create(files.pog);
  if (error != 0)
    return refuseError(files.pog, "cannot be written"_s, error);
  Maker maker(recipe, draft.fd());
  error = maker.make() ? 0 : errno;
  if (error != 0)
    return refuseError(files.pog, "cannot be written"_s, error);
  if (!acceptFaults(maker, recipe))
    return false;

  const std::optional<PogFile> fresh = component::open(draft.path());
  Statuses statuses(files.pos, options);
  std::vector<pos::listed_obligation_t> list;
  if (!fresh ||
      (statuses.exist() && !(component::readList(*fresh, list) && statuses.compare(list))))
    return false;
  if (options.check)
    return check(files, *fresh, statuses, stepped);
  error = hasSameBytes(draft.path(), files.pog) ? 0 : draft.install();
  if (error != 0)
    return refuseError(files.pog, "cannot be replaced"_s, error);
  const bool saved = statuses.exist() ? statuses.save() : statuses.make(*fresh);
  stepped.wasInStep = statuses.isInStep();
  stepped.text = statuses.text();
  if (maker.filesWithoutGoals() > 0)
    stepped.text +=
        "; %1 without a goal"_s.arg(counted(static_cast<int>(maker.filesWithoutGoals()), "file"));
  return saved;
}

bool recipeOfImport(const options_t &options, const component_paths_t &files, recipe_t &recipe) {
  const std::string directory = paths::parentOf(files.pog);
  recipe.directory = paths::realPath(directory);
  if (recipe.directory.empty())
    return refuseError(directory, "no such directory"_s, errno);
  for (const std::string &path : options.arguments) {
    // The name that was given stays, though it may be a link; the way to it does not.
    const std::string parent = paths::realPath(paths::parentOf(path));
    const std::string name = paths::nameOf(path);
    const bool isPlain = !name.empty() && name != "." && name != "..";
    const std::string real = paths::realPath(path);
    if (real.empty())
      return refuseError(path, "cannot be read"_s, errno);
    recipe.sources.push_back(isPlain ? paths::joined(parent, name) : real);
  }
  recipe.base = commonDirectory(recipe.sources);
  recipe.component = paths::nameOf(withoutSuffix(files.pog));
  recipe.groupByDirectory = options.groupByDirectory;
  recipe.embed = options.embed;
  recipe.skipBroken = options.skipBroken;
  return true;
}
