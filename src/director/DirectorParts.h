#ifndef KELVARUNE_DIRECTOR_DIRECTORPARTS_H
#define KELVARUNE_DIRECTOR_DIRECTORPARTS_H

#include "director/Failures.h"
#include "director/Progress.h"
#include "director/ResultPrinter.h"
#include "director/RunningTools.h"
#include "director/SecondaryFiles.h"
#include "director/Traces.h"
#include "pos/PosFile.h"

/// What a director is made of beside its data. Each part has its own lock and calls no other.
///
/// Lock order: the lock for writing inside `posFile`, then the director's resultMutex, then the
/// locks inside the other parts. The director's jobMutex is taken alone.
struct director_parts_t {
  director_parts_t(const QString &posPath, bool xml, int traceLevel)
      : traces(traceLevel), results(xml), posFile(posPath) {}

  Traces traces;
  Failures failures;
  Progress progress;
  ResultPrinter results;
  RunningTools tools;
  SecondaryFiles secondaryFiles;
  pos::PosFile posFile; ///< keeps the file of the director's document current
};

#endif
