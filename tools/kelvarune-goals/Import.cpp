// Bringing components in step, with their files or with what a lister says.

#include "Commands.h"
#include "Component.h"
#include "Lister.h"
#include "Options.h"
#include "Paths.h"
#include "Statuses.h"
#include "Stepping.h"
#include "files/Locking.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;
using goals::PogFile;

namespace {

int conclude(const stepped_t &stepped, const options_t &options) {
  if (options.quiet && stepped.wasInStep)
    return EXIT_DONE;
  return finish((stepped.text + QLatin1Char('\n')).toUtf8(),
                options.check && !stepped.wasInStep ? EXIT_FOUND : EXIT_DONE);
}

Locks locksOf(const component_paths_t &files, const options_t &options) {
  return {options.check ? QStringList() : QStringList{QString::fromStdString(files.pos)},
          options.wait};
}

// For a POG of another format.
int syncByLister(const component_paths_t &files, const options_t &options) {
  std::vector<pos::listed_obligation_t> list;
  Statuses statuses(files.pos, options);
  if (!statuses.exist()) {
    complain(paths::textOf(files.pos) + ": no such file, --pos names the status file"_s);
    return EXIT_REFUSED;
  }
  if (!runLister(options.lister, files.pog, list) || !statuses.compare(list))
    return EXIT_REFUSED;
  if (!options.check && !statuses.save())
    return EXIT_REFUSED;
  return conclude({statuses.isInStep(), statuses.text()}, options);
}

int syncByFiles(const component_paths_t &files, const options_t &options) {
  const std::optional<PogFile> pog = component::open(files.pog);
  if (!pog)
    return EXIT_REFUSED;
  const auto header = pog->header();
  if (const auto *fault = std::get_if<std::string>(&header)) {
    complain(QString::fromStdString(*fault));
    return EXIT_REFUSED;
  }
  recipe_t recipe =
      recipeOf(std::get<goals::pog_header_t>(header), paths::realPath(paths::parentOf(files.pog)));
  recipe.skipBroken = recipe.skipBroken || options.skipBroken;
  stepped_t stepped;
  return bringInStep(files, recipe, options, stepped) ? conclude(stepped, options) : EXIT_REFUSED;
}

} // namespace

int commands::import(const options_t &options) {
  const std::string pogPath = component::pogPathOf(options.output);
  const component_paths_t files = {pogPath, component::posPathOf(pogPath)};
  recipe_t recipe;
  stepped_t stepped;
  if (component::isAnothers(pogPath) || !recipeOfImport(options, files, recipe))
    return EXIT_REFUSED;
  const Locks locks = locksOf(files, options);
  if (!locks || !bringInStep(files, recipe, options, stepped))
    return EXIT_REFUSED;
  return conclude(stepped, options);
}

int commands::sync(const options_t &options) {
  const std::string &pogPath = options.arguments[0];
  const component_paths_t files = {pogPath, options.pos.empty() ? component::posPathOf(pogPath)
                                                                : options.pos};
  const Locks locks = locksOf(files, options);
  if (!locks)
    return EXIT_REFUSED;
  return options.lister.isEmpty() ? syncByFiles(files, options) : syncByLister(files, options);
}
