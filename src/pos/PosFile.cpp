// A component of ten thousand goals has a POS file of megabytes, and it is saved after every
// result. Serialising the whole document each time takes far longer than running the tools, so the
// bytes of each goal are kept from the first save on.
//
// Two facts make that exact. A result changes attribute values of one goal and of its descendants,
// nothing else. And the XML library writes the bytes of an element, from its "<" to its last ">",
// independently of its neighbours, except for the indentation at the start of each line, which
// depends on the depth. QDomNode::save writes any node as if it were a child of the root; a goal is
// one level deeper. Where a goal holds nothing but elements every line break in its bytes was made
// by the indentation, so one more level can be added line by line. A goal that holds text is cut
// out of the bytes of its proof obligation, which is a child of the root.

#include "pos/PosFile.h"

#include "pos/pos.h"
#include "text/Literals.h"
#include "xml/TagScanner.h"
#include "xml/XmlFile.h"

#include <QTextCodec>
#include <QTextStream>

#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

using namespace kelvarune;

namespace pos {

namespace {

constexpr std::chrono::milliseconds RETRY_INTERVAL(1);

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

/// Finds the goals in the bytes of a document or of one of its proof obligations.
class GoalFinder {
public:
  /// `depth` is the number of elements open around the bytes: 0 for a document, 1 for a proof
  /// obligation.
  GoalFinder(std::string_view bytes, std::size_t depth)
      : scanner(bytes), open(depth), inObligation(false) {}

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
  std::size_t open;
  bool inObligation;
  std::size_t obligations = 0;
  std::size_t begin = 0;
};

bool holdsOnlyElements(const QDomNode &node) {
  for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
    if (!child.isElement() || !holdsOnlyElements(child))
      return false;
  }
  return true;
}

// The bytes from the first "<" to the last ">": without the indentation and line break around them.
QByteArray elementOnly(const QByteArray &bytes) {
  const int begin = bytes.indexOf('<');
  return bytes.mid(begin, bytes.lastIndexOf('>') + 1 - begin);
}

QByteArray savedNode(const QDomNode &node, QTextCodec *codec) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  stream.setCodec(codec);
  node.save(stream, XML_INDENT);
  stream.flush();
  return elementOnly(bytes);
}

// Tries until the deadline, by polling: a lock with a time limit is unknown to the thread
// sanitizer, and this is only used when the program is stopped.
bool lockBefore(std::mutex &mutex, std::chrono::steady_clock::time_point deadline) {
  while (!mutex.try_lock()) {
    if (std::chrono::steady_clock::now() >= deadline)
      return false;
    std::this_thread::sleep_for(RETRY_INTERVAL);
  }
  return true;
}

} // namespace

PosFile::PosFile(QString filePath) : path(std::move(filePath)), replacer(path.toStdString()) {}

bool PosFile::load(QDomDocument &target) {
  ready = false;
  const xml::read_result_t result = xml::readDocument(path, target);
  if (!result.readable)
    return false;
  wellFormed = result.wellFormed;
  document = target;
  blocks.clear();
  changedGoals.clear();
  divisible = true;
  return true;
}

void PosFile::prepare() {
  if (!isPrepared())
    split(wholeDocument());
}

void PosFile::goalChanged(std::size_t obligation, std::size_t goal) {
  changedGoals.insert({obligation, goal});
}

bool PosFile::saveUpTo(quint64 ticket, std::mutex &documentMutex) {
  const std::lock_guard writing(writeMutex);
  if (written >= ticket)
    return true; // the write of another thread held it
  if (ended)
    return false;
  QVector<QByteArray> content;
  quint64 collected = 0;
  {
    const std::lock_guard lock(documentMutex);
    if (!ready)
      return false;
    collected = issued;
    content = collect();
  }
  if (!write(content))
    return false;
  written = collected;
  return true;
}

bool PosFile::saveBefore(std::chrono::steady_clock::time_point deadline,
                         std::mutex &documentMutex) {
  if (!ready || !lockBefore(writeMutex, deadline))
    return false;
  const std::lock_guard writing(writeMutex, std::adopt_lock);
  ended = true;
  QVector<QByteArray> content;
  quint64 collected = 0;
  {
    if (!lockBefore(documentMutex, deadline))
      return false;
    const std::lock_guard lock(documentMutex, std::adopt_lock);
    collected = issued;
    content = collect();
  }
  const bool done = write(content);
  if (done)
    written = collected;
  replacer.removeSpare(); // the program is likely to end without destroying anything
  return done;
}

bool PosFile::write(const QVector<QByteArray> &content) {
  if (!wellFormed && !keepMalformed())
    return false;
  const file::result_t result = replacer.replace(content);
  if (result.outcome == file::outcome_t::FAILED)
    noteFailure(result.error);
  return result.outcome == file::outcome_t::DONE;
}

// Without a copy of what could not be read the file is not touched: its statuses would be lost.
bool PosFile::keepMalformed() {
  const file::result_t result = replacer.keepBackup();
  if (result.outcome == file::outcome_t::FAILED)
    noteFailure(result.error);
  wellFormed = result.outcome == file::outcome_t::DONE;
  return wellFormed;
}

void PosFile::noteFailure(int error) {
  static std::mutex mutex;
  static std::set<std::pair<QString, int>> told;
  {
    const std::lock_guard lock(mutex);
    if (!told.insert({path, error}).second)
      return;
  }
  const std::lock_guard lock(failureMutex);
  failure += "Cannot save POS file " + path.toStdString() + ": " + std::strerror(error) + ".\n";
}

std::string PosFile::takeFailure() {
  const std::lock_guard lock(failureMutex);
  return std::exchange(failure, std::string());
}

QVector<QByteArray> PosFile::collect() {
  if (divisible && !blocks.isEmpty()) {
    for (const address_t &address : changedGoals)
      divisible = divisible && serialiseGoal(address);
    changedGoals.clear();
  }
  prepare();
  return divisible ? blocks : QVector<QByteArray>{wholeDocument()};
}

QByteArray PosFile::wholeDocument() {
  document.documentElement().setAttribute(ATTR_AUTHOR, "proof_director"_s);
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, XML_INDENT);
  codec = stream.codec();
  stream.flush();
  return bytes;
}

// Cuts the bytes of the whole document into blocks. Where the bytes do not show the goals that the
// document has, it stays undivided.
void PosFile::split(const QByteArray &bytes) {
  goals.clear();
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), TAG_PROOF_OBLIGATION)) {
    goals.emplace_back();
    for (const QDomElement &goal : xml::children(obligation, TAG_SIMPLE_GOAL))
      goals.back().push_back(goal);
  }
  changedGoals.clear();
  divisible = xml::keepsAscii(codec->name());
  places.clear();
  goalsBefore.clear();
  std::vector<std::size_t> counts(goals.size());
  GoalFinder finder(viewOf(bytes), 0);
  range_t goal;
  std::size_t obligation = 0;
  std::size_t begin = 0; // of the block
  while (divisible && finder.next(goal, obligation)) {
    divisible = obligation <= counts.size();
    if (!divisible)
      break;
    ++counts[obligation - 1];
    places.push_back({static_cast<int>(goal.begin - begin), static_cast<int>(goal.end - begin)});
    if (places.size() % GOALS_PER_BLOCK == 0) {
      blocks.append(bytes.mid(static_cast<int>(begin), static_cast<int>(goal.end - begin)));
      begin = goal.end;
    }
  }
  blocks.append(bytes.mid(static_cast<int>(begin)));
  std::size_t before = 0;
  for (std::size_t i = 0; i < goals.size(); ++i) {
    divisible = divisible && counts[i] == goals[i].size();
    goalsBefore.push_back(before);
    before += goals[i].size();
  }
  if (!divisible)
    blocks.clear();
}

bool PosFile::serialiseGoal(const address_t &address) {
  const QDomElement &goal = goals.at(address.first).at(address.second);
  QByteArray bytes;
  if (holdsOnlyElements(goal)) {
    bytes = savedNode(goal, codec);
    bytes.replace("\n", "\n" + QByteArray(XML_INDENT, ' '));
  } else {
    const QByteArray obligation = savedNode(goal.parentNode(), codec);
    GoalFinder finder(viewOf(obligation), 1);
    range_t range;
    std::size_t number = 0;
    for (std::size_t i = 0; i <= address.second; ++i) {
      if (!finder.next(range, number))
        return false;
    }
    bytes =
        obligation.mid(static_cast<int>(range.begin), static_cast<int>(range.end - range.begin));
  }
  replaceGoal(goalsBefore[address.first] + address.second, bytes);
  return true;
}

void PosFile::replaceGoal(std::size_t number, const QByteArray &bytes) {
  const place_t place = places[number];
  const int length = place.end - place.begin;
  blocks[static_cast<int>(number / GOALS_PER_BLOCK)].replace(place.begin, length, bytes);
  const int growth = bytes.size() - length;
  places[number].end += growth;
  for (std::size_t i = number + 1; i < places.size() && i % GOALS_PER_BLOCK != 0; ++i) {
    places[i].begin += growth;
    places[i].end += growth;
  }
}

} // namespace pos
