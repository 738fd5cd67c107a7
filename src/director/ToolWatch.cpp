#include "director/ToolWatch.h"

#include <sys/resource.h>

using namespace kelvarune;

using end_t = tool_record_t::end_t;

namespace {

constexpr std::size_t KEPT_OF_ERRORS = 4096;
constexpr std::uint64_t RUSAGE_UNIT = 1024; // of memory, in bytes

// What the peak memory of a tool is counted from; see process::usage_t.
std::uint64_t peakOfThisProgram() {
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss) * RUSAGE_UNIT;
}

} // namespace

ToolWatch::ToolWatch(tool_record_t *toolRecord) : record(toolRecord) {
  if (!record)
    return;
  record->standardError = process::Excerpt(0, KEPT_OF_ERRORS);
  pipe = file::makePipe();
  reader.emplace(std::move(pipe.readEnd), [this](const char *bytes, std::size_t size) {
    record->standardError.append(bytes, size);
  });
}

bool ToolWatch::start(RunningTool &tool, const std::filesystem::path &program,
                      const QStringList &arguments, int standardInput, int standardOutput) {
  if (!record)
    return tool.start(program, arguments, standardInput, standardOutput);
  record->program = program;
  record->arguments = arguments;
  ownPeak = peakOfThisProgram();
  record->start = std::chrono::system_clock::now();
  begin = std::chrono::steady_clock::now();
  const bool started =
      tool.start(program, arguments, standardInput, standardOutput, pipe.writeEnd.get());
  record->end = end_t::NOT_STARTED;
  record->number = tool->runError();
  if (started) {
    record->end = end_t::ABANDONED; // unless its end is awaited
    pipe.writeEnd.reset();
  }
  return started;
}

void ToolWatch::end(const process::ToolProcess &tool) {
  if (!record || record->end != end_t::ABANDONED)
    return;
  record->wall = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::steady_clock::now() - begin);
  reader->readRest();
  record->end = tool.crashed() ? end_t::SIGNALLED : end_t::EXITED;
  record->number = tool.crashed() ? tool.endSignal() : tool.exitStatus();
  const process::usage_t used = tool.usage();
  record->user = used.user;
  record->system = used.system;
  record->peakMemory = used.peakMemory;
  record->peakIsBound = used.peakMemory <= ownPeak;
}
