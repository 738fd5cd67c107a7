// The commands that write. The library changes the document in memory; what changed is found by
// comparing the statuses before and after, so that a dry run says exactly what a real one does.
// The file is written only when something changed.

#include "commands/Commands.h"
#include "commands/Names.h"
#include "commands/Options.h"
#include "files/Locking.h"
#include "files/Reading.h"
#include "files/Saving.h"
#include "model/Changes.h"
#include "model/Goals.h"
#include "output/Output.h"
#include "output/Words.h"
#include "pos/Edits.h"
#include "text/Literals.h"

#include <algorithm>

using namespace kelvarune;

namespace {

QString reportOf(const changes_t &changes, const options_t &options, const QString &backup) {
  const QString path = shown(options.file()) + ": "_s;
  if (changes.none())
    return path + "nothing to change\n"_s;
  QString text;
  for (const status_change_t &change : changes.statuses)
    text +=
        textOf(change.place) + ": "_s + change.before + " -> "_s + change.after + QLatin1Char('\n');
  return text + path + "verdicts in "_s + counted(changes.verdicts, "goal") +
         " and the status of "_s + counted(static_cast<int>(changes.statuses.size()), "goal") +
         (options.dryRun ? " would change\n"_s : " changed; as it was: %1\n"_s.arg(shown(backup)));
}

// Saves the changed document unless this is a dry run, and says what changed.
int conclude(const options_t &options, const QDomDocument &document,
             const std::vector<goal_state_t> &before) {
  const changes_t changes = changesBetween(before, statesOf(document));
  QString backup;
  if (!changes.none() && !options.dryRun && !replaceFile(options.file(), bytesOf(document), backup))
    return EXIT_REFUSED;
  return finish(reportOf(changes, options, backup).toUtf8());
}

bool hasSelection(const options_t &options) {
  return !options.statuses.empty() || options.mechanism || options.driver ||
         !options.tagGlob.isEmpty() || !options.goals.empty();
}

// Whether the selection has no name that the file has not; else refuses it.
bool isKnown(const options_t &options, const QDomDocument &document) {
  if (!areRegistered(options.mechanism, options.driver, pos::registeredMechanisms(document),
                     options.file()))
    return false;
  const std::vector<pos::goal_t> goals = pos::goalsOf(document);
  if (!std::all_of(options.goals.begin(), options.goals.end(), [&](const pos::goal_name_t &name) {
        return !goalsNamed(name, goals, options.file()).empty();
      }))
    return false;
  const auto hasTag = [&options](const pos::goal_t &goal) {
    return matchesTag(goal.place, options.tagGlob);
  };
  if (std::any_of(goals.begin(), goals.end(), hasTag) || options.tagGlob.isEmpty())
    return true;
  complain(options.file() + ": no obligation has a tag like \""_s + options.tagGlob + "\""_s);
  return false;
}

pos::verdict_filter_t filterOf(const options_t &options) {
  const auto isWanted = [&options](const pos::goal_place_t &place) {
    const auto isThis = [&place](const pos::goal_name_t &name) {
      return name.tag == place.tag && name.number == place.number;
    };
    return matchesTag(place, options.tagGlob) &&
           (options.goals.empty() ||
            std::any_of(options.goals.begin(), options.goals.end(), isThis));
  };
  return {options.statuses, options.mechanism, options.driver, isWanted};
}

bool isLastDriver(const QDomDocument &document, const QString &mechanism) {
  const std::vector<pos::registered_t> all = pos::registeredMechanisms(document);
  return std::any_of(all.begin(), all.end(), [&mechanism](const pos::registered_t &registered) {
    return registered.name == mechanism && registered.drivers.size() == 1;
  });
}

} // namespace

int commands::unprove(const options_t &options) {
  const Locks locks(options.written(), options.wait);
  QDomDocument document;
  if (!locks || !readSound(options.file(), pos::use_t::DERIVING, document) ||
      !isKnown(options, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  if (hasSelection(options))
    pos::resetVerdicts(document, filterOf(options));
  else
    pos::unprove(document);
  return conclude(options, document, before);
}

int commands::remove(const options_t &options) {
  const Locks locks(options.written(), options.wait);
  QDomDocument document;
  if (!locks || !readSound(options.file(), pos::use_t::DERIVING, document) ||
      !isKnown(options, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  if (!options.driver) {
    bool changed = true;
    while (changed) // each call removes one element per goal; a goal may have several of that name
      pos::removeMechanism(document, *options.mechanism, changed);
    return conclude(options, document, before);
  }
  if (isLastDriver(document, *options.mechanism)) {
    complain(
        "%1: %2 is the only driver of %3, remove the mechanism: kelvarune-pos remove %3 %1"_s.arg(
            options.file(), *options.driver, *options.mechanism));
    return EXIT_REFUSED;
  }
  pos::removeDriver(document, *options.mechanism, *options.driver);
  return conclude(options, document, before);
}
