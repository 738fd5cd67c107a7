#ifndef KELVARUNE_DIRECTOR_RESULTPRINTER_H
#define KELVARUNE_DIRECTOR_RESULTPRINTER_H

#include "director/ProofData.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

class LineCursor;

/// The results of a pass on standard output: a header for each proof obligation, and the marks of
/// its goals.
///
/// Adding only collects the text, in the order in which the results come; printing writes what has
/// been collected. So nobody who holds the lock of the results waits for whoever reads the output.
/// Any thread. Lock order: the lock for printing, then the lock of the text; adding takes only the
/// second.
class ResultPrinter {
public:
  explicit ResultPrinter(bool xml) : xml(xml) {}

  void startPass();

  /// Opens the headers of all obligations up to `obligation` that are not open yet.
  void openOperations(std::uint64_t obligation, const po_data_list_t &poData);

  void addMark(pos::status_t status);
  void addNoVerdict();

  /// Adds the remaining lines of a reader as a model.
  void addModel(LineCursor &lines);

  /// Writes what has been added and not been written yet.
  void print();

  /// Writes the end of the pass.
  void endPass();

private:
  void add(std::string_view piece);

  const bool xml;
  std::mutex printMutex; // serialises the writing; taken before textMutex
  std::mutex textMutex;
  std::string text;                // guarded by textMutex
  std::uint64_t nextOperation = 0; // the next obligation without a header; guarded by textMutex
};

#endif
