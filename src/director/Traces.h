#ifndef KELVARUNE_DIRECTOR_TRACES_H
#define KELVARUNE_DIRECTOR_TRACES_H

#include "process/StandardStreams.h"

#include <sstream>
#include <string>

/// The traces of a director on standard error: whole lines, and only when the trace level is
/// exactly 1. Any thread; where nobody reads, writing blocks, so hold no lock.
class Traces {
public:
  explicit Traces(int level) : isOn(level == 1) {}

  /// Writes one line made of the parts.
  template <typename... Parts>
  void line(const Parts &...parts) const {
    if (isOn)
      kelvarune::process::writeToStandardError(text(parts...));
  }

  /// As line for the worker loops, whose prefix is spelt with a blank (wanted).
  template <typename... Parts>
  void workerLine(const Parts &...parts) const {
    if (isOn)
      kelvarune::process::writeToStandardError(joined("-- Proof Director -- ", parts...));
  }

  /// The text that line would write, for places that hold a lock; empty without traces.
  template <typename... Parts>
  std::string text(const Parts &...parts) const {
    return isOn ? joined("-- ProofDirector -- ", parts...) : std::string();
  }

private:
  template <typename... Parts>
  static std::string joined(const Parts &...parts) {
    std::ostringstream line;
    (line << ... << parts) << '\n';
    return line.str();
  }

  const bool isOn;
};

#endif
