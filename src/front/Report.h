#ifndef KELVARUNE_FRONT_REPORT_H
#define KELVARUNE_FRONT_REPORT_H

#include <string>

namespace kelvarune {

/// Prints the line that announces the play of a mechanism, as text or, with `xml`, in its element.
void print_proving(const std::string &component, const std::string &mechanism, bool xml);

/// Prints the line that says that the POS file at `posPath` cannot be read, in its element with
/// `xml`.
void print_not_readable(const std::string &posPath, bool xml);

} // namespace kelvarune

/// Prints the summary of the proof statuses that stand in the POS file at `posPath`, as text or,
/// with `xml`, in the elements that calling tools read. `label` names the component. A file that
/// cannot be read gives an error line and a summary of zeros; a status text that does not exist
/// raises std::out_of_range.
void print_metrics(const std::string &posPath, bool xml, const std::string &label);

#endif
