#ifndef KELVARUNE_DIRECTOR_PROOFDATA_H
#define KELVARUNE_DIRECTOR_PROOFDATA_H

#include "pos/pos.h"

#include <QDomElement>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

/// The records that a director works on, see ProofDirector. Plain values.

namespace kelvarune {

/// The address of a simple goal: the index of its proof obligation in the director's data and its
/// index within that obligation, both from 0.
using address_t = std::pair<unsigned long, unsigned long>;

/// One list of addresses per proof obligation (exactly one list for a designated goal).
using selection_t = std::vector<std::vector<address_t>>;

/// How far a driver pass has come; see ProofDirector::progress.
struct progress_t {
  QString driver;             ///< the driver played now, empty before the first
  unsigned long total = 0;    ///< entries of this pass
  unsigned long started = 0;  ///< entries that have been started
  unsigned long finished = 0; ///< entries that have ended, with or without a verdict
  unsigned long proved = 0;   ///< verdicts "Proved" of this pass
};

} // namespace kelvarune

/// What the director knows of one simple goal.
struct po_data_t {
  pos::status_t status; ///< the mechanism's own status for the goal
  QStringList drivers;  ///< names of the drivers that may still work on the goal
  QDomElement element;  ///< the goal's element of the mechanism, in the director's document
};

/// The goals of the component: per proof obligation, in document order, its tag and its goals.
using po_data_list_t = std::vector<std::pair<std::string, std::vector<po_data_t>>>;

/// One invocation of a driver's writer.
struct writer_data_t {
  std::filesystem::path cmd;
  QStringList args;
  QString po2filename;                         ///< the file that the writer must create
  std::vector<kelvarune::address_t> positions; ///< its goals, in the order of the -a arguments
};

/// One invocation of a driver's prover, piped into its reader.
struct prover_data_t {
  std::filesystem::path cmdp;
  QStringList argsp;
  std::filesystem::path cmdr;
  QStringList argsr;
  QString inpath;                              ///< the file that the writer of the same index made
  std::vector<kelvarune::address_t> addresses; ///< the goals of the reader's verdicts, in order
};

/// Dumps for debugging; nothing reads them back.
std::ostream &operator<<(std::ostream &stream, const po_data_t &data);
std::ostream &operator<<(std::ostream &stream, const po_data_list_t &poData);
std::ostream &operator<<(std::ostream &stream, const writer_data_t &data);
std::ostream &operator<<(std::ostream &stream, const prover_data_t &data);

#endif
