#ifndef KELVARUNE_DIRECTOR_OBSERVERS_H
#define KELVARUNE_DIRECTOR_OBSERVERS_H

#include "director/Observation.h"

#include <memory>
#include <utility>
#include <vector>

/// The records of the entries of a pass, from the start of an entry to its end, for an observer.
/// Without one there are none. The owner sets it up and starts passes; while workers run, each
/// entry belongs to the worker that runs it.
class Observers {
public:
  void set(kelvarune::observer_t wanted, kelvarune::watch_t what) {
    observer = std::move(wanted);
    watch = what;
  }

  bool wantProverOutput() const { return watch == kelvarune::watch_t::PROVER_OUTPUT; }

  void startPass(std::size_t entries) {
    records.clear();
    records.resize(observer ? entries : 0);
  }

  /// The record of an entry, made when there is none yet; null when nobody observes.
  kelvarune::entry_record_t *record(unsigned long index) {
    if (index >= records.size())
      return nullptr;
    if (!records[index])
      records[index] = std::make_unique<kelvarune::entry_record_t>();
    return records[index].get();
  }

  /// Forgets what is known of an entry: it will be run again.
  void drop(unsigned long index) {
    if (index < records.size())
      records[index].reset();
  }

  /// Gives the record of an entry that has ended to the observer. Hold no lock.
  void conclude(unsigned long index) {
    if (index < records.size() && records[index]) {
      const auto ended = std::exchange(records[index], nullptr);
      observer(*ended);
    }
  }

private:
  kelvarune::observer_t observer;
  kelvarune::watch_t watch = kelvarune::watch_t::TOOLS;
  std::vector<std::unique_ptr<kelvarune::entry_record_t>> records;
};

#endif
