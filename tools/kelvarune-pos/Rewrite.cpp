// The commands that write. The library changes the document in memory; what changed is found by
// comparing the statuses before and after, so that a dry run tells exactly what a real one does.
// The file is written only when something changed, and never before its bytes are safe in FILE~.

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "PosDocument.h"
#include "file/FileReplacer.h"
#include "text/Literals.h"

#include <QTextStream>

#include <cerrno>
#include <cstring>

#include <unistd.h>

using namespace kelvarune;

namespace {

struct goal_state_t {
  place_t place;
  QString status;
  QStringList verdicts; ///< of its mechanisms
};

QString statusTextOf(const QDomElement &element) {
  return element.attribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
}

std::vector<goal_state_t> statesOf(const QDomDocument &document) {
  std::vector<goal_state_t> states;
  forEachPlacedGoal(document, [&states](const QDomElement &goal, const place_t &place) {
    states.push_back({place, statusTextOf(goal), {}});
    for (const QDomElement &mechanism : xml::children(goal, pos::TAG_MECHANISM))
      states.back().verdicts.append(statusTextOf(mechanism));
  });
  return states;
}

struct changes_t {
  QString lines;    ///< one per goal whose status changed
  int goals = 0;    ///< how many those are
  int verdicts = 0; ///< goals in which verdicts of mechanisms changed or went away
};

// Neither operation adds or removes goals, so they correspond one by one.
changes_t changesBetween(const std::vector<goal_state_t> &before,
                         const std::vector<goal_state_t> &after) {
  changes_t changes;
  for (std::size_t i = 0; i < before.size(); ++i) {
    changes.verdicts += before[i].verdicts != after[i].verdicts ? 1 : 0;
    if (before[i].status == after[i].status)
      continue;
    ++changes.goals;
    changes.lines += before[i].place.text() + ": "_s + before[i].status + " -> "_s +
                     after[i].status + QLatin1Char('\n');
  }
  return changes;
}

bool refuseToSave(const QString &path, const QString &what, int error, const QString &state) {
  complain(path + ": "_s + what + ": "_s + QString::fromLocal8Bit(std::strerror(error)) + "; "_s +
           state);
  return false;
}

bool save(const QDomDocument &document, const QString &path) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, pos::XML_INDENT);
  stream.flush();
  const QString untouched = "nothing was changed"_s;
  const QString copy = path + QLatin1Char('~');
  file::FileReplacer replacer(path.toStdString());
  if (::access(replacer.path().c_str(), W_OK) != 0)
    return refuseToSave(path, "cannot be written"_s, errno, untouched);
  const file::result_t backup = replacer.keepBackup();
  if (backup.outcome != file::outcome_t::DONE)
    return refuseToSave(path, "cannot be copied to "_s + copy, backup.error, untouched);
  const file::result_t result = replacer.replace({bytes});
  if (result.outcome != file::outcome_t::DONE)
    return refuseToSave(path, "cannot be replaced"_s, result.error, "as it was: "_s + copy);
  return true;
}

QString summaryOf(const options_t &options, const changes_t &changes) {
  const QString path = shown(options.file()) + ": "_s;
  if (changes.goals == 0 && changes.verdicts == 0)
    return path + "nothing to change\n"_s;
  return path + "verdicts of mechanisms in "_s + counted(changes.verdicts, "goal") +
         " and the status of "_s + counted(changes.goals, "goal") +
         (options.dryRun ? " would change\n"_s
                         : " changed; as it was: %1~\n"_s.arg(shown(options.file())));
}

// Saves the changed document unless this is a dry run, and says what changed.
int conclude(const options_t &options, const QDomDocument &document,
             const std::vector<goal_state_t> &before) {
  const changes_t changes = changesBetween(before, statesOf(document));
  const bool changed = changes.goals != 0 || changes.verdicts != 0;
  if (changed && !options.dryRun && !save(document, options.file()))
    return EXIT_REFUSED;
  return finish((changes.lines + summaryOf(options, changes)).toUtf8());
}

int refuseName(const options_t &options) {
  std::vector<std::string> names;
  pos::getMechanisms(options.file().toStdString(), names);
  QStringList known;
  for (const std::string &name : names)
    known.append(shown(QString::fromStdString(name)));
  const QString remedy =
      known.isEmpty() ? ", none is registered"_s : ", choose among "_s + known.join(", "_s);
  complain(options.file() + ": no mechanism \""_s + options.name + QLatin1Char('"') + remedy);
  return EXIT_REFUSED;
}

} // namespace

int commands::unprove(const options_t &options) {
  QDomDocument document;
  if (!readSoundPosDocument(options.file(), use_t::DERIVING, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  pos::unprove(document);
  return conclude(options, document, before);
}

int commands::remove(const options_t &options) {
  QDomDocument document;
  if (!readSoundPosDocument(options.file(), use_t::DERIVING, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  bool changed = false;
  pos::removeMechanism(document, options.name, changed);
  if (!changed)
    return refuseName(options);
  while (changed) // each call removes one element per goal; a goal may have several of that name
    pos::removeMechanism(document, options.name, changed);
  return conclude(options, document, before);
}
