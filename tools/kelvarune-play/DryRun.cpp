// The director itself says what each driver has to do, so that this cannot differ from what a run
// does.

#include "DryRun.h"

#include "Commands.h"
#include "director/ProofDirector.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

QString commandsOf(const ProofDirector &director, const mechanism::driver_t &driver) {
  QString text;
  for (std::size_t i = 0; i < director.getWriterData().size(); ++i) {
    const writer_data_t &writer = director.getWriterData()[i];
    const prover_data_t &prover = director.getProverData()[i];
    const chain_t chain = {{writer.cmd, writer.args},
                           {prover.cmdp, prover.argsp},
                           {prover.cmdr, prover.argsr},
                           driver.prover.input,
                           writer.po2filename};
    for (const QString &line : linesOf(chain))
      text += "  "_s + line + QLatin1Char('\n');
  }
  return text;
}

std::size_t goalsIn(const ProofDirector &director) {
  std::size_t goals = 0;
  for (const prover_data_t &entry : director.getProverData())
    goals += entry.addresses.size();
  return goals;
}

QString workOf(const ProofDirector &director, const mechanism::driver_t &driver, bool verbose) {
  const std::size_t goals = goalsIn(director);
  if (goals == 0) // a driver that puts all goals together has an entry all the same
    return "nothing to play\n"_s;
  const std::size_t entries = director.getProverData().size();
  return "at most %1 in %2\n"_s.arg(counted(static_cast<int>(goals), "goal"),
                                    entries == 1 ? "1 entry"_s : "%1 entries"_s.arg(entries)) +
         (verbose ? commandsOf(director, driver) : QString());
}

} // namespace

QString dryRun(ProofDirector &director, const play_options_t &options, const QString &directory) {
  if (options.replay)
    director.reloadPosFile();
  else
    director.loadPosFile();
  const QString mechanism = QString::fromStdString(director.getMechanismName());
  QString text;
  for (const mechanism::driver_t &driver : director.getMechanism().drivers) {
    if (!options.plays(driver.name, driver.fast))
      continue;
    director.setCurrentDriver(driver);
    selection_t selection;
    director.selectForDriver(selection);
    director.produceWriterData(directory, options.pogPath, selection);
    director.produceProverData();
    text += textOf(driver_name_t{mechanism, driver.name}) + ": "_s +
            workOf(director, driver, options.verbose);
  }
  return text;
}
