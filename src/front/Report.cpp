// What a run prints beside the results. The statuses are read from the file again, so that the
// summary tells what was saved.

#include "front/Report.h"

#include "pos/pos.h"

#include <iostream>

void print_proving(const std::string &component, const std::string &mechanism, bool xml) {
  std::cout << (xml ? "<proving>" : "") << "Proving " << component << " with external mechanism "
            << mechanism << (xml ? "</proving>" : "") << std::endl;
}

void print_not_readable(const std::string &posPath, bool xml) {
  std::cout << (xml ? "<error>" : "Error") << "File not readable " << posPath
            << (xml ? "</error>" : "") << std::endl;
}

void print_metrics(const std::string &posPath, bool xml, const std::string &label) {
  pos::metrics_t metrics = {};
  if (!pos::getMetrics(posPath, metrics))
    print_not_readable(posPath, xml);
  std::cout << (xml ? "" : "End of proof") << std::endl;
  std::cout << (xml ? "<proofResult>\n" : "") << std::endl;
  std::cout << (xml ? "<total>" : "") << "TOTAL for " << label << "\t Proved " << metrics.proved
            << "\t Proved externally " << metrics.provedExternally << "\t Unreliably proved "
            << metrics.unreliablyProved << "\t Disproved " << metrics.disproved << "\t Unproved "
            << metrics.unproved << (xml ? "</total>" : "") << std::endl;
  if (xml)
    std::cout << "</proofResult>\n</proof>\n" << std::flush;
}
