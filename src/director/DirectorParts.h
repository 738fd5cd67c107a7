#ifndef KELVARUNE_DIRECTOR_DIRECTORPARTS_H
#define KELVARUNE_DIRECTOR_DIRECTORPARTS_H

#include "director/Crew.h"
#include "director/Failures.h"
#include "director/JobSlots.h"
#include "director/Observers.h"
#include "director/Progress.h"
#include "director/ResultPrinter.h"
#include "director/RunningTools.h"
#include "director/SecondaryFiles.h"
#include "director/Traces.h"
#include "pos/PosFile.h"

#include <set>

/// Raised where a worker is to leave, as the system has no room for another process. Caught by the
/// worker's own loop.
struct no_room_t {};

/// What a director is made of beside its data. Each part has its own lock and calls no other.
///
/// Lock order: the lock for writing inside `posFile`, then the director's resultMutex, then the
/// locks inside the other parts. The director's jobMutex is taken alone, or inside the lock of the
/// slots. The choice and what follows from it change only while no worker runs.
struct director_parts_t {
  director_parts_t(const QString &posPath, bool xml, int traceLevel, unsigned int concurrency)
      : traces(traceLevel), results(xml), crew(concurrency), posFile(posPath) {}

  Traces traces;
  Failures failures;
  Progress progress;
  ResultPrinter results;
  RunningTools tools;
  SecondaryFiles secondaryFiles;
  Observers observers;
  Crew crew;
  kelvarune::JobSlots *slots = nullptr; ///< null: as many entries at once as there are workers
  kelvarune::play_choice_t choice;
  std::set<kelvarune::address_t> beyondRules; ///< goals that `choice` offers to drivers
  pos::PosFile posFile;                       ///< keeps the file of the director's document current
};

#endif
