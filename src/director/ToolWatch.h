#ifndef KELVARUNE_DIRECTOR_TOOLWATCH_H
#define KELVARUNE_DIRECTOR_TOOLWATCH_H

#include "director/Observation.h"
#include "director/RunningTools.h"
#include "file/Descriptor.h"
#include "process/PipeReader.h"

#include <optional>

/// Fills in the record of one tool while it runs. Without a record it only starts the tool. Belongs
/// to one thread.
class ToolWatch {
public:
  /// `record` may be null; else it must outlive this object.
  explicit ToolWatch(kelvarune::tool_record_t *record);
  ToolWatch(const ToolWatch &) = delete;
  ToolWatch &operator=(const ToolWatch &) = delete;

  /// As RunningTool::start.
  bool start(RunningTool &tool, const std::filesystem::path &program, const QStringList &arguments,
             int standardInput, int standardOutput);

  /// What the tool writes on standard error, to be kept read while it runs; null when nobody wants
  /// to know.
  kelvarune::process::PipeReader *errors() { return reader ? &*reader : nullptr; }

  /// Call when `tool` has ended.
  void end(const kelvarune::process::ToolProcess &tool);

private:
  kelvarune::tool_record_t *const record;
  kelvarune::file::pipe_t pipe;
  std::optional<kelvarune::process::PipeReader> reader;
  std::chrono::steady_clock::time_point begin;
  std::uint64_t ownPeak = 0;
};

#endif
