#include "kelvarune-limit/Options.h"

#include "text/Literals.h"
#include "wrapper/CommandLine.h"
#include "wrapper/Quantities.h"

#include <iostream>

using namespace kelvarune;

namespace limit {

namespace {

/// The options, declared once; the parser knows them by these objects.
struct declarations_t {
  using Option = QCommandLineOption;
  Option time{"time"_s, "The most time that may pass, in seconds."_s, "s"_s};
  Option processor{"cpu"_s, "The most processor time, in seconds."_s, "s"_s};
  Option memory{"memory"_s, "The most memory, with K, M, G or T."_s, "size"_s};
  Option grace{
      "grace"_s,
      "How long the processes may take to end in order before they are killed, in seconds."_s,
      "s"_s, "0.5"_s};
  Option report{"report"_s, "Write what the prover took and how it ended into this file (JSON)."_s,
                "file"_s};

  QList<Option> all() const { return {time, processor, memory, grace, report}; }
};

bool fail(const QString &message) {
  std::cerr << "kelvarune-limit: " << message.toStdString() << std::endl;
  return false;
}

bool readSettings(const QCommandLineParser &parser, const declarations_t &declared,
                  options_t &options) {
  options.timeText = parser.value(declared.time);
  options.processorText = parser.value(declared.processor);
  options.memoryText = parser.value(declared.memory);
  options.report = parser.value(declared.report);
  const auto isLimit = [&](const QCommandLineOption &option, std::chrono::milliseconds &time) {
    return !parser.isSet(option) ||
           (wrapper::parseSeconds(parser.value(option), time) && time.count() > 0);
  };
  if (!isLimit(declared.time, options.time))
    return fail("--time: no number of seconds: "_s + options.timeText);
  if (!isLimit(declared.processor, options.processor))
    return fail("--cpu: no number of seconds: "_s + options.processorText);
  if (parser.isSet(declared.memory) &&
      (!wrapper::parseSize(options.memoryText, options.memory) || options.memory == 0))
    return fail("--memory: no size: "_s + options.memoryText);
  if (!wrapper::parseSeconds(parser.value(declared.grace), options.grace))
    return fail("--grace: no number of seconds: "_s + parser.value(declared.grace));
  return true;
}

} // namespace

bool parseOptions(int argc, char **argv, options_t &options) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Runs a prover, and ends it with all that it has started when it reaches a limit.\n\n"
      "Exit status: that of the prover; 122 limit of processor time, 123 of memory, 124 of time;\n"
      "125 wrong options or failure of its own; 126 the prover cannot be run; 127 it is not found."_s);
  const declarations_t declared;
  parser.addOptions(declared.all());
  const QString fault = wrapper::parse(parser, argc, argv, options.command);
  if (!fault.isNull())
    return fail(fault);
  if (!readSettings(parser, declared, options))
    return false;
  return !options.command.empty() || fail("no prover is named; see --help"_s);
}

} // namespace limit
