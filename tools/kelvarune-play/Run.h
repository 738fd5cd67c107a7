#ifndef KELVARUNE_PLAY_RUN_H
#define KELVARUNE_PLAY_RUN_H

#include "Entries.h"
#include "Options.h"
#include "Part.h"
#include "Recording.h"
#include "director/JobSlots.h"
#include "director/Observation.h"
#include "director/StopOnSignals.h"
#include "model/Goals.h"

#include <QString>
#include <QStringList>

#include <mutex>
#include <string>
#include <vector>

class ProofDirector;

/// What was found out before a run and is needed in its course or afterwards.
struct plan_t {
  play_options_t options;
  kelvarune::play_choice_t choice;
  QString directory;                    ///< for the secondary files
  bool isPrivate = true;                ///< no other run puts files there
  std::vector<goal_t> reference;        ///< of a replay: what must be proved afterwards
  int leftUnknown = 0;                  ///< goals that are not tried again
  kelvarune::JobSlots *slots = nullptr; ///< shared with others; null: as many as the options say
  Part *part = nullptr;                 ///< which one of several this run is, for its starter
};

/// One run over all mechanisms, with its report. There is one at a time.
class Run {
public:
  /// `plan` must outlive the run.
  explicit Run(const plan_t &plan);
  ~Run();
  Run(const Run &) = delete;
  Run &operator=(const Run &) = delete;

  /// Plays, reports, and gives the exit status.
  int play(kelvarune::StopOnSignals &stopOnSignals);

  /// Tells what would be played.
  void tellOnly();

  /// Ends the run's history, for a program that a signal ends with this exit status, and gives what
  /// there is to say then, in lines with their ends. Any thread.
  static std::string lastWords(int status);

private:
  void playMechanism(const QString &mechanism, kelvarune::StopOnSignals &stopOnSignals);
  void playOn(ProofDirector &director, kelvarune::StopOnSignals &stopOnSignals);
  void tellStarter(const ProofDirector &playing);
  void keepErrors(const ProofDirector &director);
  void setDirector(ProofDirector *now);
  std::string stoppedText(int status);
  void report(const QStringList &lost) const;
  int status(const QStringList &lost) const;

  const plan_t &plan;
  const play_options_t &options;
  const std::string posPath;
  const std::string component;
  Entries entries;
  Recording recording;
  QStringList failedSaves;
  unsigned int leastJobs;
  std::mutex partMutex;              // guards what is told through plan.part
  ProofDirector *director = nullptr; // guarded by the mutex for lastWords
};

#endif
