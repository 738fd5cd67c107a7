// A component of ten thousand goals has a POS file of megabytes, and it is saved after every
// result. Serialising the whole document each time takes far longer than running the tools, so the
// bytes of each goal are kept from the first save on.
//
// Two facts make that exact. A result changes attribute values of one goal and of its descendants,
// nothing else. And the XML library writes the bytes of an element, from its "<" to its last ">",
// by its depth and content alone, whatever its neighbours are. QDomNode::save writes any node as if
// it were a child of the root, but a goal stands one level deeper; so for the time of its
// serialisation it is moved into an element of its own. Whether the library of this day keeps to
// that is tried on one goal before anything relies on it.

#include "pos/GoalBytes.h"

#include "pos/pos.h"
#include "text/Literals.h"
#include "xml/TagScanner.h"
#include "xml/XmlFile.h"

#include <QTextCodec>
#include <QTextStream>

#include <algorithm>
#include <string>
#include <string_view>

using namespace kelvarune;

namespace pos {

namespace {

// A result copies the bytes of its block, and a save goes through all blocks, so they should be
// neither large nor many: with goals of usual size, 50 kB each, 800 of them for 50,000 goals.
constexpr std::size_t GOALS_PER_BLOCK = 64;

std::string_view viewOf(const QByteArray &bytes) {
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

struct range_t {
  std::size_t begin;
  std::size_t end;
};

/// Finds the goals in the bytes of a document.
class GoalFinder {
public:
  explicit GoalFinder(std::string_view bytes) : scanner(bytes) {}

  /// Finds the next goal; `obligation` counts the proof obligations from 1.
  bool next(range_t &goal, std::size_t &obligation) {
    xml::tag_t tag;
    while (scanner.next(tag)) {
      const std::size_t depth = tag.kind == xml::tag_kind_t::CLOSE ? --open : open;
      if (tag.kind == xml::tag_kind_t::OPEN)
        ++open;
      if (depth == 1 && tag.kind != xml::tag_kind_t::CLOSE) {
        inObligation = tag.name == obligationTag;
        obligations += inObligation ? 1 : 0;
      }
      if (depth != 2 || !inObligation || tag.name != goalTag)
        continue;
      if (tag.kind != xml::tag_kind_t::CLOSE)
        begin = tag.begin;
      if (tag.kind == xml::tag_kind_t::OPEN)
        continue;
      goal = {begin, tag.end};
      obligation = obligations;
      return true;
    }
    return false;
  }

private:
  const std::string obligationTag = TAG_PROOF_OBLIGATION.toStdString();
  const std::string goalTag = TAG_SIMPLE_GOAL.toStdString();
  xml::TagScanner scanner;
  std::size_t open = 0;
  bool inObligation = false;
  std::size_t obligations = 0;
  std::size_t begin = 0;
};

/// Moves a node into an element of its own for as long as it lives.
class Isolated {
public:
  Isolated(const QDomNode &node, QDomDocument &document)
      : node(node), parent(node.parentNode()), next(node.nextSibling()),
        wrapper(document.createElement("w"_s)) {
    wrapper.appendChild(node);
  }
  ~Isolated() {
    if (next.isNull())
      parent.appendChild(node);
    else
      parent.insertBefore(node, next);
  }
  Isolated(const Isolated &) = delete;
  Isolated &operator=(const Isolated &) = delete;

  const QDomElement &element() const { return wrapper; }

private:
  const QDomNode node;
  QDomNode parent;
  const QDomNode next;
  QDomElement wrapper;
};

QByteArray saved(const QDomNode &node, QTextCodec *codec) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  stream.setCodec(codec);
  node.save(stream, XML_INDENT);
  stream.flush();
  return bytes;
}

// What stands in an element that holds one element and nothing else.
QByteArray contentOf(const QByteArray &bytes) {
  const int begin = bytes.indexOf('<', bytes.indexOf('>'));
  const int end = bytes.lastIndexOf('>', bytes.lastIndexOf('<')) + 1;
  return bytes.mid(begin, end - begin);
}

} // namespace

void GoalBytes::prepare() {
  if (!isPrepared())
    split(wholeDocument());
}

void GoalBytes::goalChanged(std::size_t obligation, std::size_t goal) {
  changedGoals.insert({obligation, goal});
}

QVector<QByteArray> GoalBytes::collect() {
  if (!blocks.isEmpty()) {
    for (const address_t &address : changedGoals)
      replaceGoal(goalsBefore[address.first] + address.second, serialised(address));
  }
  prepare();
  changedGoals.clear();
  return divisible ? blocks : QVector<QByteArray>{wholeDocument()};
}

QByteArray GoalBytes::wholeDocument() {
  document.documentElement().setAttribute(ATTR_AUTHOR, "proof_director"_s);
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, XML_INDENT);
  codec = stream.codec();
  stream.flush();
  return bytes;
}

void GoalBytes::findGoals() {
  goals.clear();
  goalsBefore.clear();
  std::size_t before = 0;
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), TAG_PROOF_OBLIGATION)) {
    goals.emplace_back();
    for (const QDomElement &goal : xml::children(obligation, TAG_SIMPLE_GOAL))
      goals.back().push_back(goal);
    goalsBefore.push_back(before);
    before += goals.back().size();
  }
}

// Cuts the bytes of the whole document into blocks. Where the bytes do not show the goals that the
// document has, or the library writes a goal otherwise than the document, it stays undivided.
void GoalBytes::split(const QByteArray &bytes) {
  findGoals();
  extents.clear();
  std::vector<std::size_t> counts(goals.size());
  GoalFinder finder(viewOf(bytes));
  range_t goal;
  std::size_t obligation = 0;
  std::size_t begin = 0; // of the block
  divisible = xml::keepsAscii(codec->name());
  while (divisible && finder.next(goal, obligation)) {
    divisible = obligation <= counts.size();
    if (!divisible)
      break;
    ++counts[obligation - 1];
    extents.push_back({static_cast<int>(goal.begin - begin), static_cast<int>(goal.end - begin)});
    if (extents.size() % GOALS_PER_BLOCK == 0) {
      blocks.append(bytes.mid(static_cast<int>(begin), static_cast<int>(goal.end - begin)));
      begin = goal.end;
    }
  }
  blocks.append(bytes.mid(static_cast<int>(begin)));
  divisible = divisible && hasFoundAll(counts) && firstGoalIsAsSaved();
  if (!divisible)
    blocks.clear();
}

bool GoalBytes::hasFoundAll(const std::vector<std::size_t> &counts) const {
  return std::equal(goals.begin(), goals.end(), counts.begin(), counts.end(),
                    [](const auto &found, std::size_t count) { return found.size() == count; });
}

bool GoalBytes::firstGoalIsAsSaved() {
  if (extents.empty())
    return true;
  std::size_t obligation = 0;
  while (goals[obligation].empty())
    ++obligation;
  const extent_t extent = extents.front();
  return serialised({obligation, 0}) == blocks.front().mid(extent.begin, extent.end - extent.begin);
}

QByteArray GoalBytes::serialised(const address_t &address) {
  const Isolated goal(goals.at(address.first).at(address.second), document);
  return contentOf(saved(goal.element(), codec));
}

void GoalBytes::replaceGoal(std::size_t number, const QByteArray &bytes) {
  const extent_t extent = extents[number];
  const int length = extent.end - extent.begin;
  blocks[static_cast<int>(number / GOALS_PER_BLOCK)].replace(extent.begin, length, bytes);
  const int growth = bytes.size() - length;
  extents[number].end += growth;
  for (std::size_t i = number + 1; i < extents.size() && i % GOALS_PER_BLOCK != 0; ++i) {
    extents[i].begin += growth;
    extents[i].end += growth;
  }
}

} // namespace pos
