// POS documents: every operation on them, and the promise that a file kept current piece by piece
// has exactly the bytes of the whole document.

#include "FuzzSupport.h"
#include "pos/PosFile.h"
#include "pos/PosInternal.h"
#include "pos/pos.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QHash>
#include <QTextStream>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace kelvarune;

namespace {

const FuzzDirectory &directory() {
  static const FuzzDirectory theDirectory;
  return theDirectory;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// Measures how deep the parser really goes.
class DepthHandler : public QXmlDefaultHandler {
public:
  bool startElement(const QString &, const QString &, const QString &,
                    const QXmlAttributes &) override {
    deepest = std::max(deepest, ++depth);
    return true;
  }
  bool endElement(const QString &, const QString &, const QString &) override {
    --depth;
    return true;
  }

  std::size_t deepest = 0;

private:
  std::size_t depth = 0;
};

std::size_t parsedDepth(const QByteArray &bytes) {
  QXmlInputSource source;
  source.setData(bytes);
  DepthHandler handler;
  QXmlSimpleReader reader;
  reader.setContentHandler(&handler);
  reader.parse(source);
  return handler.deepest;
}

#pragma GCC diagnostic pop

// Whatever stands before them, elements that nest too deeply are seen before the document is made
// of them. The parser may begin one more when it stops at a tag that is broken.
void checkDepth(std::string_view input) {
  std::string bytes(input);
  for (std::size_t i = 0; i <= xml::MAX_DEPTH + 1; ++i)
    bytes += "<a>";
  const std::string path = directory().write("deep.pos", bytes);
  QDomDocument document;
  if (xml::readDocument(QString::fromStdString(path), document).readable)
    require(parsedDepth(QByteArray::fromStdString(bytes)) <= xml::MAX_DEPTH + 1,
            "a deep document is refused");
}

std::string wholeOf(QDomDocument &document) {
  document.documentElement().setAttribute(pos::ATTR_AUTHOR, "proof_director"_s);
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, pos::XML_INDENT);
  stream.flush();
  return bytes.toStdString();
}

/// How many elements there are of a kind, by names and status.
using tally_t = std::map<std::vector<std::string>, std::int32_t>;

tally_t tallyOf(const QDomDocument &document) {
  tally_t tally;
  const auto statusOf = [](const QDomElement &element) {
    return std::to_string(pos::statusOf(element));
  };
  const auto nameOf = [](const QDomElement &element) {
    return element.attribute(pos::ATTR_NAME).toStdString();
  };
  pos::forEachGoal(document, [&](const QDomElement &goal) {
    ++tally[{statusOf(goal)}];
    for (const QDomElement &mechanism : xml::children(goal, pos::TAG_MECHANISM)) {
      ++tally[{nameOf(mechanism), statusOf(mechanism)}];
      for (const QDomElement &driver : xml::children(mechanism, pos::TAG_DRIVER))
        ++tally[{nameOf(mechanism), nameOf(driver), statusOf(driver)}];
    }
  });
  return tally;
}

// Metrics are drawn from the file without a document; they must be those of the document.
void compareMetrics(const std::string &path, const QDomDocument &document) {
  pos::metrics_t metrics;
  tally_t tally;
  const bool found = endsOrThrows([&] { pos::getMetrics(path, metrics); });
  require(found == endsOrThrows([&] { tally = tallyOf(document); }), "the same files are refused");
  if (!found)
    return;
  const auto check = [&tally](std::vector<std::string> names, pos::status_t status,
                              std::int32_t count) {
    names.push_back(std::to_string(status));
    require(tally[names] == count, "metrics are those of the document");
  };
  check({}, pos::UNPROVED, metrics.unproved);
  check({}, pos::PROVED, metrics.proved);
  check({}, pos::UNRELIABLY_PROVED, metrics.unreliablyProved);
  check({}, pos::DISPROVED, metrics.disproved);
  for (const auto &[name, mechanism] : metrics.mechanisms) {
    check({name}, pos::UNPROVED, mechanism->unproved);
    check({name}, pos::UNKNOWN, mechanism->unknown);
    check({name}, pos::PROVED, mechanism->proved);
    for (const auto &[driverName, driver] : mechanism->drivers) {
      check({name, driverName}, pos::UNPROVED, driver->unproved);
      check({name, driverName}, pos::DISPROVED, driver->disproved);
    }
  }
}

void operate(const std::string &path) {
  QDomDocument document = pos::domOfPath(path);
  compareMetrics(path, document);
  std::vector<std::string> names;
  endsOrThrows([&] { pos::getMechanisms(path, names); });
  endsOrThrows([&] { pos::checkPosInvariant(document); });
  for (const std::string &name : names) {
    bool changed = false;
    if (!endsOrThrows(
            [&] { pos::removeMechanism(document, QString::fromStdString(name), changed); }))
      return;
  }
  pos::unprove(document);
  endsOrThrows([&] { pos::checkPosInvariant(document); });
}

struct goal_t {
  std::size_t obligation;
  std::size_t index;
  QDomElement element;
};

std::vector<goal_t> goalsOf(const QDomDocument &document) {
  std::vector<goal_t> goals;
  std::size_t i = 0;
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), pos::TAG_PROOF_OBLIGATION)) {
    std::size_t j = 0;
    for (const QDomElement &goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL))
      goals.push_back({i, j++, goal});
    ++i;
  }
  return goals;
}

void change(QDomElement element, const QString &status, std::mt19937 &choices) {
  if (choices() % 2)
    element.setAttribute(pos::ATTR_STATUS, status);
  for (const QDomElement &child : xml::children(element, QString())) {
    if (choices() % 3 == 0)
      change(child, status, choices);
  }
}

void keepCurrent(const std::string &path, std::mt19937 &choices) {
  pos::PosFile file(QString::fromStdString(path));
  QDomDocument document;
  if (!file.load(document, [] { return true; }))
    return;
  std::mutex mutex;
  const auto saveAndCompare = [&] {
    require(file.saveUpTo(file.ticket(), mutex), "a document can be saved");
    require(directory().read("in.pos") == wholeOf(document), "the file is the whole document");
  };
  if (choices() % 2)
    file.prepare(mutex);
  if (choices() % 4)
    saveAndCompare(); // else the first save comes with changes
  const std::vector<goal_t> goals = goalsOf(document);
  const QStringList statuses = {"Proved"_s, "Unknown"_s, "a<b&\"c\"\n"_s};
  for (int round = 0; round < 3 && !goals.empty(); ++round) {
    for (unsigned i = 0; i <= choices() % 3; ++i) {
      const goal_t &goal = goals[choices() % goals.size()];
      change(goal.element, statuses.at(static_cast<int>(choices() % 3)), choices);
      file.goalChanged(goal.obligation, goal.index);
    }
    saveAndCompare();
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const bool prepared = [] {
    qSetGlobalQHashSeed(0);
    silenceStreams();
    return true;
  }();
  (void)prepared;
  const std::string_view input = textOf(data, size);
  std::mt19937 choices = choicesOf(input);
  if (choices() % 4 == 0)
    checkDepth(input);
  const std::string path = directory().write("in.pos", input);
  operate(path);
  keepCurrent(path, choices);
  return 0;
}
