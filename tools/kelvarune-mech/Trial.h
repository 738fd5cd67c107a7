#ifndef KELVARUNE_MECH_TRIAL_H
#define KELVARUNE_MECH_TRIAL_H

#include "director/ReaderOutput.h"
#include "mechanism/Mechanism.h"
#include "process/Guardian.h"
#include "process/StopSignals.h"

#include <QString>
#include <QTemporaryDir>

#include <vector>

/// How the run of one tool ended.
struct ending_t {
  enum class kind_t { NOT_STARTED, TIMED_OUT, SIGNALLED, EXITED };

  QString role; ///< TAG_WRITER, TAG_PROVER or TAG_READER
  kind_t kind = kind_t::NOT_STARTED;
  int number = 0;         ///< the error number, the signal or the exit status
  qint64 ms = 0;          ///< wall time
  QString complaint = {}; ///< the first and the last line on its standard error
};

/// What one run of a driver's tools came to.
struct trial_t {
  std::vector<ending_t> endings; ///< of the writer, the prover and the reader
  bool hasFile = false;          ///< the writer has written its file
  ReaderOutput output;
};

/// Runs the tools of drivers once, in a private directory that goes with this object, also when a
/// signal stops the program. For the main thread; make it before there are other threads.
class TrialRoom {
public:
  TrialRoom();

  /// False when there is no directory to work in.
  bool isUsable() const { return directory.isValid(); }

  /// Runs the tools as the director does for the first goal of the file `pog`. With an empty name
  /// the writer gets an empty file of goals, and the others an empty file whatever it writes.
  /// No tool may take longer than `limitMs`.
  trial_t run(const std::string &mechanism, const mechanism::driver_t &driver, const QString &pog,
              int limitMs);

private:
  void runWriter(const mechanism::tool_t &writer, const QString &pog, const QString &file,
                 trial_t &trial);
  void runChain(const mechanism::driver_t &driver, const QString &file, trial_t &trial);

  const kelvarune::process::Guardian guardian;
  const QTemporaryDir directory;
  const kelvarune::process::StopSignals stopSignals;
  int limitMs = 0;
};

#endif
