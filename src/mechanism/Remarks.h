#ifndef KELVARUNE_MECHANISM_REMARKS_H
#define KELVARUNE_MECHANISM_REMARKS_H

#include <QString>
#include <QStringList>

#include <vector>

/// What mechanism descriptions do that is permitted but probably not meant: a misspelt attribute,
/// say, which is skipped without a word. What is wrong with them says Faults.h.
namespace mechanism {

struct remark_t {
  QString file;
  int line = 0; ///< where the element's start tag ends, from 1
  int column = 0;
  QString text; ///< one sentence for people: what it is, and what helps
};

/// Reads the descriptions `files`, which are played in this order, and gives the remarks on each,
/// file by file and there from top to bottom:
///
/// - elements, attributes and texts that are skipped: unknown ones with what was probably meant,
///   misplaced ones, and those of which only the first counts;
/// - values that are none: of "fast", "input", "timeout", "ext";
/// - "${...}" that is not replaced where it stands, a "timeout" that reaches no parameter, a prover
///   that is never told its file, parameters that make other arguments than they seem to;
/// - no driver, drivers without a name or with one name twice, and a definition that nothing uses;
/// - mechanisms that cannot do their part: one of trust "redundancy" with a single driver; one that
///   is relied upon less than another that comes later, since its proofs keep the later one from
///   replaying its own; two with one name.
///
/// Files that readFaults cannot read give no remarks. No tool is looked for. Any thread.
std::vector<remark_t> readRemarks(const QStringList &files);

} // namespace mechanism

#endif
