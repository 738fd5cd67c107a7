// What a run prints beside the results. The statuses are read from the file again, so that the
// summary shows what was saved.

#include "front/Report.h"

#include "pos/pos.h"
#include "process/StandardStreams.h"

#include <sstream>

using namespace kelvarune;

void kelvarune::print_proving(const std::string &component, const std::string &mechanism,
                              bool xml) {
  process::writeToStandardOutput((xml ? "<proving>Proving " : "Proving ") + component +
                                 " with external mechanism " + mechanism +
                                 (xml ? "</proving>\n" : "\n"));
}

void kelvarune::print_not_readable(const std::string &posPath, bool xml) {
  process::writeToStandardOutput((xml ? "<error>" : "Error") + ("File not readable " + posPath) +
                                 (xml ? "</error>\n" : "\n"));
}

void print_metrics(const std::string &posPath, bool xml, const std::string &label) {
  pos::metrics_t metrics = {};
  if (!pos::getMetrics(posPath, metrics))
    print_not_readable(posPath, xml);
  std::ostringstream text;
  text << (xml ? "\n<proofResult>\n\n<total>" : "End of proof\n\n") << "TOTAL for " << label
       << "\t Proved " << metrics.proved << "\t Proved externally " << metrics.provedExternally
       << "\t Unreliably proved " << metrics.unreliablyProved << "\t Disproved "
       << metrics.disproved << "\t Unproved " << metrics.unproved
       << (xml ? "</total>\n</proofResult>\n</proof>\n" : "\n");
  process::writeToStandardOutput(text.str());
}
