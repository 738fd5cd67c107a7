#ifndef KELVARUNE_PLAY_CAUSES_H
#define KELVARUNE_PLAY_CAUSES_H

#include "director/Observation.h"

#include <QString>

#include <optional>

/// What went wrong with an entry, in words.
struct cause_t {
  QString what;        ///< "prover exited with status 1: %1"
  QString detail;      ///< for %1: what a tool said, which may differ from entry to entry; or null
  bool failed = false; ///< a tool could not do its work, or the entry was thrown away

  QString text() const;
};

/// Why an entry did not end with a proof or disproof of each of its goals, as far as the tools tell
/// that: the first thing in the chain of tools that explains it. Nothing for an entry in order, of
/// which a plain "Unknown" is one. A tool that fails although all goals are decided is told only
/// when it could not be started or was ended by a signal.
std::optional<cause_t> causeOf(const kelvarune::entry_record_t &record);

/// How a tool ended: "exited with status 1", "reached its time limit of 10 s", "was ended by signal
/// 11 (SIGSEGV)", "could not be started: Permission denied".
QString endOf(const kelvarune::tool_record_t &tool);

#endif
