// What the marks of a pass look like, as text and in XML elements.

#include "director/ResultPrinter.h"

#include "director/ReaderOutput.h"
#include "process/StandardStreams.h"

#include <map>
#include <utility>

using namespace kelvarune;

namespace {

const std::map<pos::status_t, const char *> stringOfStatus = {{pos::UNPROVED, "-"},
                                                              {pos::UNKNOWN, "-"},
                                                              {pos::UNRELIABLY_PROVED, "*"},
                                                              {pos::PROVED, "+"},
                                                              {pos::DISPROVED, "!"}};

const std::map<pos::status_t, const char *> xmlOfStatus = {{pos::UNPROVED, "<m/>"},
                                                           {pos::UNKNOWN, "<m/>"},
                                                           {pos::UNRELIABLY_PROVED, "<u/>"},
                                                           {pos::PROVED, "<p/>"},
                                                           {pos::DISPROVED, "<d/>"}};

} // namespace

void ResultPrinter::startPass() {
  const std::lock_guard lock(textMutex);
  nextOperation = 0;
}

void ResultPrinter::openOperations(std::uint64_t obligation, const po_data_list_t &poData) {
  const std::lock_guard lock(textMutex);
  for (; nextOperation <= obligation; ++nextOperation) {
    if (nextOperation != 0)
      text += xml ? "</operation>\n" : "\n";
    text += xml ? "\t\t<operation><name>" : "\t\t";
    text += poData.at(nextOperation).first;
    text += xml ? "</name>\n\t\t\t" : "\n\t\t\t";
  }
}

void ResultPrinter::addMark(pos::status_t status) {
  add((xml ? xmlOfStatus : stringOfStatus).at(status));
}

void ResultPrinter::addNoVerdict() {
  addMark(pos::UNPROVED);
}

void ResultPrinter::addModel(LineCursor &lines) {
  add(xml ? "<model>\n" : "model:\n");
  while (!lines.atEnd()) {
    add(lines.next());
    add("\n");
  }
  add(xml ? "</model>\n" : "\n");
}

void ResultPrinter::add(std::string_view piece) {
  const std::lock_guard lock(textMutex);
  text += piece;
}

void ResultPrinter::print() {
  const std::lock_guard printing(printMutex);
  std::string collected;
  {
    const std::lock_guard lock(textMutex);
    collected = std::exchange(text, std::string());
  }
  process::writeToStandardOutput(collected);
}

void ResultPrinter::endPass() {
  add("\n");
  bool isOpen = false;
  {
    const std::lock_guard lock(textMutex);
    isOpen = nextOperation != 0;
  }
  if (isOpen)
    add(xml ? "</operation>\n" : "\n");
  print();
}
