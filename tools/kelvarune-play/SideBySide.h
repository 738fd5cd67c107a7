#ifndef KELVARUNE_PLAY_SIDEBYSIDE_H
#define KELVARUNE_PLAY_SIDEBYSIDE_H

#include "jobserver/Tokens.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

/// One of several plays: a component of a project.
struct part_t {
  QString name;
  QStringList arguments;       ///< for a kelvarune-play of its own, without --concurrency
  double expectedSeconds = -1; ///< of work, as the history has it; negative: not known
  std::uint64_t size = 0;      ///< compares those that no history knows, such as their bytes
};

/// Plays all parts, each by a kelvarune-play of its own, side by side: as many entries at once as
/// `tokens` and one more allow, whichever part they belong to. Those that are not known come first,
/// then the longest. What each writes is collected and written as a whole, in the order of `parts`.
/// Standard error is headed by its name.
///
/// Gives 2 when some part could not be played, which is named at the end and stops no other, else 3
/// when some had failures or was killed, else 1 when a check said no, else 0. After a stop 128+N.
/// Main thread; one at a time.
int playSideBySide(const std::vector<part_t> &parts, kelvarune::jobserver::Tokens &tokens);

/// Passes a signal that ends the program on to all parts, waits for their ends and for a moment for
/// what they said to be read. For another thread than the one that plays. False when none does.
bool stopSideBySide(int number);

#endif
