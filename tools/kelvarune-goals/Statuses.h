#ifndef KELVARUNE_TOOLS_GOALS_STATUSES_H
#define KELVARUNE_TOOLS_GOALS_STATUSES_H

#include "goals/PogFile.h"
#include "pos/Sync.h"

#include <QByteArray>
#include <QString>

#include <string>
#include <vector>

struct options_t;

/// The status file of a component, and how it gets in step: first everything that can fail without
/// a change, then the change.
class Statuses {
public:
  Statuses(const std::string &path, const options_t &options);

  /// Whether there is a file. Without one all goals are new.
  bool exist() const { return isThere; }

  /// Compares the file with the goals. False after a complaint.
  bool compare(const std::vector<pos::listed_obligation_t> &list);
  bool isInStep() const { return inStep; }

  /// Writes what must be written. False after a complaint. The second makes a file that is not
  /// there.
  bool save();
  bool make(const kelvarune::goals::PogFile &pog);

  /// What it came to, for people: lines, the last one without its end.
  const QString &text() const { return summary; }

private:
  bool saveWithoutCopy();

  const QString path;
  const options_t &options;
  const bool isThere;
  bool inStep = false;
  QByteArray bytes; // to be written; empty for nothing
  QString summary;
};

/// Says that something cannot be done with the file at `path`. Always false.
bool refuseError(const std::string &path, const QString &what, int error);

#endif
