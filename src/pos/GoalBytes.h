#ifndef KELVARUNE_POS_GOALBYTES_H
#define KELVARUNE_POS_GOALBYTES_H

#include <QByteArray>
#include <QDomDocument>
#include <QVector>

#include <set>
#include <utility>
#include <vector>

class QTextCodec;

namespace pos {

/// The bytes of a POS document, kept goal by goal, so that a changed goal costs its own bytes and
/// not those of the whole document.
///
/// They are the bytes that QDomDocument::save with XML_INDENT gives. Works on the document alone,
/// no file is involved. One thread at a time.
class GoalBytes {
public:
  GoalBytes() = default;

  /// For `document`, whose nodes are shared.
  explicit GoalBytes(const QDomDocument &document) : document(document) {}

  /// Serialises the whole document ahead of the first collection, which is the long part of that.
  void prepare();

  /// Notes that attributes of goal `goal` of proof obligation `obligation` (indexes as in the
  /// document, from 0), or of elements in it, got other values. All other changes of the document
  /// must be made before it is prepared or first collected.
  void goalChanged(std::size_t obligation, std::size_t goal);

  /// The bytes of the document as it is now, in pieces; those of unchanged goals share their bytes
  /// with the pieces of earlier calls.
  QVector<QByteArray> collect();

private:
  using address_t = std::pair<std::size_t, std::size_t>;

  /// Where the bytes of a goal are within its block.
  struct extent_t {
    int begin;
    int end;
  };

  bool isPrepared() const { return !divisible || !blocks.isEmpty(); }
  QByteArray wholeDocument();
  void findGoals();
  void split(const QByteArray &bytes);
  bool hasFoundAll(const std::vector<std::size_t> &counts) const;
  bool firstGoalIsAsSaved();
  QByteArray serialised(const address_t &address);
  void replaceGoal(std::size_t number, const QByteArray &bytes);

  QDomDocument document;
  QTextCodec *codec = nullptr; // in which the document is saved
  bool divisible = true;       // whether the goals can be kept apart

  // Each block ends with the last of its goals, GOALS_PER_BLOCK of them, and the last one with the
  // document. Empty before the document is prepared and where it is not divisible.
  QVector<QByteArray> blocks;
  std::vector<extent_t> extents; // of all goals in their order
  std::vector<std::vector<QDomElement>> goals;
  std::vector<std::size_t> goalsBefore; // each proof obligation
  std::set<address_t> changedGoals;
};

} // namespace pos

#endif
