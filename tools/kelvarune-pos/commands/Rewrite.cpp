// The commands that write. The library changes the document in memory; what changed is found by
// comparing the statuses before and after, so that a dry run says exactly what a real one does.
// The file is written only when something changed, and never before its bytes are safe in FILE~.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Reading.h"
#include "file/FileReplacer.h"
#include "model/Changes.h"
#include "model/Goals.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QTextStream>

#include <cerrno>
#include <cstring>

#include <unistd.h>

using namespace kelvarune;

namespace {

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

QString reportOf(const changes_t &changes, const options_t &options) {
  const QString path = shown(options.file()) + ": "_s;
  if (changes.none())
    return path + "nothing to change\n"_s;
  QString text;
  for (const status_change_t &change : changes.statuses)
    text +=
        textOf(change.place) + ": "_s + change.before + " -> "_s + change.after + QLatin1Char('\n');
  return text + path + "verdicts of mechanisms in "_s + counted(changes.verdicts, "goal") +
         " and the status of "_s + counted(static_cast<int>(changes.statuses.size()), "goal") +
         (options.dryRun ? " would change\n"_s
                         : " changed; as it was: %1~\n"_s.arg(shown(options.file())));
}

// Saves the changed document unless this is a dry run, and says what changed.
int conclude(const options_t &options, const QDomDocument &document,
             const std::vector<goal_state_t> &before) {
  const changes_t changes = changesBetween(before, statesOf(document));
  if (!changes.none() && !options.dryRun && !save(document, options.file()))
    return EXIT_REFUSED;
  return finish(reportOf(changes, options).toUtf8());
}

int refuseName(const options_t &options, const QDomDocument &document) {
  QStringList known;
  for (const registered_t &mechanism : registeredMechanisms(document))
    known.append(shown(mechanism.name));
  const QString remedy =
      known.isEmpty() ? ", none is registered"_s : ", choose among "_s + known.join(", "_s);
  complain(options.file() + ": no mechanism \""_s + options.name + QLatin1Char('"') + remedy);
  return EXIT_REFUSED;
}

} // namespace

int commands::unprove(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::DERIVING, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  pos::unprove(document);
  return conclude(options, document, before);
}

int commands::remove(const options_t &options) {
  QDomDocument document;
  if (!readSound(options.file(), pos::use_t::DERIVING, document))
    return EXIT_REFUSED;
  const std::vector<goal_state_t> before = statesOf(document);
  bool changed = false;
  pos::removeMechanism(document, options.name, changed);
  if (!changed)
    return refuseName(options, document);
  while (changed) // each call removes one element per goal; a goal may have several of that name
    pos::removeMechanism(document, options.name, changed);
  return conclude(options, document, before);
}
