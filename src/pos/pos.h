#ifndef KELVARUNE_POS_POS_H
#define KELVARUNE_POS_POS_H

#include <QString>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

class QDomDocument;

/// The proof obligation status file (POS file): its statuses, its vocabulary, operations on whole
/// documents and the metrics drawn from a file.
///
/// The document is a tree of a root element, its Proof_Obligation children, their Simple_Goal
/// children and those goals' Mechanism children with their Driver children. Elements are found by
/// name among the direct children of their parent; everything else is skipped and kept. The name of
/// the root is not checked.
///
/// Errors: a status text that is not in its table raises std::out_of_range, which nothing here
/// catches. Threads: constants, tables and conversions are built before main, so that no other
/// file's static initialisation may use them; from then on any thread may. The operations on a
/// document take no lock, whoever shares a document serialises access to it.
namespace pos {

// ---- Status values and vocabulary: pos.cpp

/// The proof status of a goal. The numbers are fixed: they serve as array indexes.
enum status_t : int { UNPROVED = 0, UNKNOWN, UNRELIABLY_PROVED, PROVED, DISPROVED };

extern const QString TAG_PROOF_OBLIGATIONS; ///< The root.
extern const QString TAG_PROOF_OBLIGATION;
extern const QString TAG_TAG;         ///< Child of an obligation; its text is the obligation's tag.
extern const QString TAG_SIMPLE_GOAL; ///< Child of an obligation; the unit that is proved.
extern const QString TAG_PROOF_STATE; ///< Child of a goal: what the component's own proof says.
extern const QString TAG_IAPA;        ///< Child of a goal: one more verdict.
extern const QString TAG_STATUS;      ///< Child of TAG_IAPA.
extern const QString TAG_MECHANISM;   ///< Child of a goal: what one mechanism concluded.
extern const QString TAG_DRIVER;      ///< Child of a mechanism: what one of its drivers concluded.

extern const QString ATTR_STATUS;      ///< Of a goal, a mechanism or a driver.
extern const QString ATTR_NAME;        ///< Of a mechanism or a driver.
extern const QString ATTR_PROOF_STATE; ///< Of TAG_PROOF_STATE.
extern const QString ATTR_VALUE;       ///< Of TAG_STATUS.
extern const QString ATTR_AUTHOR;      ///< Of the root.
extern const QString ATTR_DIGEST;      ///< Of a goal, may be absent: which text it had; see Sync.h.
extern const QString ATTR_SOURCE;      ///< Of a goal, may be absent: "FILE:LINE", for people.

extern const QString ATTR_VALUE_UNPROVED;
extern const QString ATTR_VALUE_PROVED;
extern const QString ATTR_VALUE_PROVED_ZERO;
extern const QString ATTR_VALUE_PROVED_ONE;
extern const QString ATTR_VALUE_PROVED_TWO;
extern const QString ATTR_VALUE_PROVED_THREE;
extern const QString ATTR_VALUE_PROVED_UTIL;
extern const QString ATTR_VALUE_PROVED_FAST; ///< "Proved(Rapide)": the format has the French word.
extern const QString ATTR_VALUE_UNRELIABLY_PROVED;
extern const QString ATTR_VALUE_DISPROVED;
extern const QString ATTR_VALUE_UNKNOWN;
extern const QString ATTR_VALUE_VALID;   ///< Only below TAG_IAPA.
extern const QString ATTR_VALUE_INVALID; ///< Only below TAG_IAPA.

/// Blanks per level of indentation in a saved document.
constexpr int XML_INDENT = 4;

/// A mark of one character for each status.
extern const std::map<status_t, char> charOfStatus;

/// The table of proofStatusOfAttrValue. Several texts mean PROVED.
const std::map<QString, status_t> &proofStatusOfAttrValue_dict();

/// The table of strOfProofStatus.
const std::map<status_t, QString> &strOfProofStatus_dict();

/// What a verdict below TAG_IAPA counts for in the status of its goal.
const std::map<QString, status_t> &ia_dict();

/// What the verdict of a mechanism counts for in the status of its goal.
const std::map<QString, status_t> &me_dict();

/// The status that `text` stands for; upper and lower case differ. Raises std::out_of_range for any
/// other text, the empty one included.
status_t proofStatusOfAttrValue(const QString &text);

/// The canonical text of `status`, which is the one that is written: "Proved" for every text that
/// is read as PROVED. Raises std::out_of_range for a number that is no status.
QString strOfProofStatus(status_t status);

/// Writes the canonical text of `status` as UTF-8 and nothing else. Raises as strOfProofStatus.
std::ostream &operator<<(std::ostream &stream, status_t status);

// ---- Operations on whole documents: PosOperations.cpp

/// Lists the names of the mechanisms that left results in the POS file at `path` (UTF-8), each once
/// and in the order of their first appearance; a mechanism without a name counts as "".
///
/// False, with `names` as it was, when there is no such file or it cannot be read. A file that is
/// not well-formed has no mechanisms. Raises std::out_of_range when a goal has an unknown status.
bool getMechanisms(const std::string &path, std::vector<std::string> &names);

/// Puts the document back to what the component's own proof established: every mechanism "Unproved"
/// and every goal "Proved" or "Unproved" by its Proof_State alone. Drivers keep their verdicts.
void unprove(QDomDocument &document);

/// Removes the results of the mechanism `name`: in each goal the first Mechanism of that name, no
/// more. Where the goal's status no longer follows from the rest it is corrected; a status text
/// that means the same as the canonical one stays as it is.
///
/// `changed` tells whether anything was removed. False when the document is null or an element
/// could not be removed; the goals before it are then changed already. Raises std::out_of_range for
/// unknown status texts in the goals concerned, a missing mechanism status included.
bool removeMechanism(QDomDocument &document, const QString &name, bool &changed);

/// Whether the status of each goal is the one that follows from its Proof_State, iapa and
/// Mechanism children. The first goal where it is not is written to standard error as XML.
///
/// "Unknown" never follows, so a goal that has it fails. Raises std::out_of_range for unknown
/// status texts, a missing mechanism status included.
bool checkPosInvariant(const QDomDocument &document);

// ---- Metrics: PosMetrics.cpp. All counters start at zero.

/// Counts the Driver elements of one name, below the mechanisms of one name, by their status.
///
/// There is no counter for UNRELIABLY_PROVED, on purpose: such drivers are not counted.
struct driver_metrics_t {
  std::int32_t unproved = 0;
  std::int32_t unknown = 0;
  std::int32_t proved = 0;
  std::int32_t disproved = 0;
};

/// Counts the Mechanism elements of one name by their status.
struct mechanism_metrics_t {
  std::int32_t unproved = 0;
  std::int32_t unknown = 0;
  std::int32_t proved = 0;
  std::int32_t unreliablyProved = 0;
  std::int32_t disproved = 0;
  std::map<std::string, std::unique_ptr<driver_metrics_t>> drivers; ///< By name.
};

/// Counts the goals of a POS file by their stored status.
struct metrics_t {
  std::int32_t total = 0; ///< All goals; those with status UNKNOWN count only here.
  std::int32_t unproved = 0;
  std::int32_t proved = 0;
  std::int32_t unreliablyProved = 0;
  std::int32_t disproved = 0;
  std::int32_t provedExternally = 0;   ///< Goals that at least one mechanism has proved.
  std::int32_t provedByProofState = 0; ///< Goals that the component's own proof has proved.
  std::map<std::string, std::unique_ptr<mechanism_metrics_t>> mechanisms; ///< By name.
};

/// Counts the goals of the POS file at `path` (UTF-8), as it is on disk.
///
/// Everything in `metrics` is set anew, except `provedByProofState`, which is added to: start from
/// a fresh record. False, with `metrics` as it was, when there is no such file or it cannot be
/// read. A file that is not well-formed has no goals. Raises std::out_of_range for an unknown
/// status of a goal, a mechanism or a driver; `metrics` is then as it was.
bool getMetrics(const std::string &path, metrics_t &metrics);

/// Counts the goals of `document` in the same way. Raises std::out_of_range as getMetrics.
metrics_t metricsOf(const QDomDocument &document);

} // namespace pos

#endif
