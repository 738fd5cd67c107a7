#ifndef KELVARUNE_LIMIT_OPTIONS_H
#define KELVARUNE_LIMIT_OPTIONS_H

#include <QString>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace limit {

/// What the command line asks for. Limits of 0 are none; the texts are as they were given.
struct options_t {
  std::chrono::milliseconds time = {};
  std::chrono::milliseconds processor = {};
  std::uint64_t memory = 0; ///< bytes
  QString timeText;
  QString processorText;
  QString memoryText;
  std::chrono::milliseconds grace = {};
  QString report;                   ///< empty: none
  std::vector<std::string> command; ///< the prover and its arguments, bytes as they came

  /// Whether somebody wants to know what the prover takes while it runs.
  bool isMeasured() const { return processor.count() > 0 || memory > 0 || !report.isEmpty(); }
};

/// Reads the command line. Prints help or version and ends the program when asked to. False, after
/// one line on standard error, when something is wrong.
bool parseOptions(int argc, char **argv, options_t &options);

} // namespace limit

#endif
