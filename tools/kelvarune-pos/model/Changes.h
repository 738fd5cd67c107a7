#ifndef KELVARUNE_TOOLS_POS_MODEL_CHANGES_H
#define KELVARUNE_TOOLS_POS_MODEL_CHANGES_H

#include "pos/Goals.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <vector>

/// The statuses of a goal, as texts.
struct goal_state_t {
  pos::goal_place_t place;
  QString status;
  QStringList verdicts; ///< of its mechanisms, each followed by those of its drivers
};

std::vector<goal_state_t> statesOf(const QDomDocument &document);

struct status_change_t {
  pos::goal_place_t place;
  QString before;
  QString after;
};

struct changes_t {
  std::vector<status_change_t> statuses; ///< of goals
  int verdicts = 0;                      ///< goals in which verdicts changed or went away

  bool none() const { return statuses.empty() && verdicts == 0; }
};

/// What changed between two states of a document that has kept its goals.
changes_t changesBetween(const std::vector<goal_state_t> &before,
                         const std::vector<goal_state_t> &after);

#endif
