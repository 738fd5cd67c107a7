#ifndef KELVARUNE_PLAY_SUMMARY_H
#define KELVARUNE_PLAY_SUMMARY_H

#include "Causes.h"

#include <map>
#include <vector>

/// What went wrong in a run, grouped, so that a fault that many entries share is told once.
class Summary {
public:
  /// Counts an entry that has ended, and what went wrong with it, if anything.
  void add(const QString &driver, const std::optional<cause_t> &cause);

  /// One line for each driver and cause, in the order in which they came: "z3/single: 48 of 60
  /// entries: prover exited with status 1: 'unknown option'".
  QStringList lines() const;

private:
  struct group_t {
    QString driver;
    cause_t cause; ///< of the first entry; its detail stands for those like it
    QString likeness;
    unsigned long count = 0;
  };

  group_t &groupOf(const QString &driver, const cause_t &cause);

  std::vector<group_t> groups;
  std::map<QString, unsigned long> entries; // by driver
};

#endif
