// Several runs over the same goals become one file.

#include "pos/Merge.h"

#include "commands/Commands.h"
#include "commands/Options.h"
#include "files/Locking.h"
#include "files/Reading.h"
#include "files/Saving.h"
#include "output/Output.h"
#include "output/Words.h"
#include "pos/Sync.h"
#include "text/Literals.h"

#include <QFileInfo>

using namespace kelvarune;

namespace {

QString describe(const std::optional<pos::obligation_t> &obligation) {
  return obligation
             ? "%1 with %2"_s.arg(shown(obligation->tag),
                                  counted(static_cast<int>(obligation->goals.size()), "goal"))
             : "missing"_s;
}

bool haveSameGoals(const QDomDocument &first, const QDomDocument &second, const QString &other,
                   const options_t &options) {
  const auto difference = pos::differenceOfGoals(first, second);
  if (!difference) {
    const auto changed = pos::differenceOfDigests(first, second);
    if (changed)
      complain("the goals are not the same: the digest of %1 is another one in %2 than in %3; "
               "kelvarune-goals sync brings each file in step with its goals"_s.arg(
                   textOf(*changed), options.files[0], other));
    return !changed;
  }
  complain("the goals are not the same: obligation %1 is %2 in %3 and %4 in %5"_s.arg(
      QString::number(difference->obligation), describe(difference->first), options.files[0],
      describe(difference->second), other));
  return false;
}

bool mayWrite(const options_t &options) {
  for (const QString &file : options.files) {
    if (!isSameFile(options.outputPath, file))
      continue;
    complain(options.outputPath + ": is one of the files to merge, give another path"_s);
    return false;
  }
  if (options.force || !QFileInfo::exists(options.outputPath))
    return true;
  complain(options.outputPath + ": is there already, give another path or --force"_s);
  return false;
}

// `before` is what the files before `other` have come to.
QString lineOf(const pos::contradiction_t &found, const QString &before, const QString &other) {
  QString who;
  if (found.mechanism)
    who = found.driver ? textOf(driver_name_t{*found.mechanism, *found.driver})
                       : shown(*found.mechanism);
  return textOf(found.place) + ": "_s + (who.isEmpty() ? who : who + ": "_s) +
         "%1 in %2, %3 in %4\n"_s.arg(coloured(statusCell(found.first)), before,
                                      coloured(statusCell(found.second)), shown(other));
}

// A file that is there is replaced as any status file is: a copy of it is kept.
bool writeMerged(const options_t &options, const QByteArray &bytes, QString &backup) {
  return QFileInfo::exists(options.outputPath) ? replaceFile(options.outputPath, bytes, backup)
                                               : writeFile(options.outputPath, bytes);
}

} // namespace

int commands::merge(const options_t &options) {
  const Locks locks(options.files + QStringList{options.outputPath}, options.wait);
  QDomDocument document;
  if (!locks || !readSound(options.file(), pos::use_t::DERIVING, document) || !mayWrite(options))
    return EXIT_REFUSED;
  QString text;
  int contradictions = 0;
  for (int i = 1; i < options.files.size(); ++i) {
    const QString &path = options.files[i];
    QDomDocument other;
    if (!readSound(path, pos::use_t::DERIVING, other) ||
        !haveSameGoals(document, other, path, options))
      return EXIT_REFUSED;
    const QString before = i == 1 ? shown(options.file()) : "a file before"_s;
    for (const pos::contradiction_t &contradiction : pos::merge(document, other)) {
      text += lineOf(contradiction, before, path);
      ++contradictions;
    }
  }
  QString backup;
  if (!writeMerged(options, bytesOf(document), backup))
    return EXIT_REFUSED;
  text += shown(options.outputPath) + ": "_s +
          counted(static_cast<int>(pos::goalsOf(document).size()), "goal") + ", "_s +
          counted(contradictions, "contradiction") +
          (backup.isEmpty() ? backup : "; as it was: "_s + shown(backup)) + QLatin1Char('\n');
  return finish(text.toUtf8(), contradictions == 0 ? EXIT_DONE : EXIT_FOUND);
}
