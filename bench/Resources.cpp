// Loading and dropping resource files of growing size, whose definitions are of one tool, of
// different tools, or all of one resource. Each is to cost the same however many there are.
//
// Usage: bench-resources [Google Benchmark options]

#include "resource/ResourceManager.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

using benchmark::State;

/// A file of `count` definitions in the directory for temporary files, removed at the end.
class DefinitionFile {
public:
  template <typename Definition>
  DefinitionFile(int count, Definition definition)
      : path(std::filesystem::temp_directory_path() /
             ("bench-resources-" + std::to_string(::getpid()))) {
    std::ofstream stream(path);
    for (int i = 0; i < count; ++i)
      stream << definition(std::to_string(i)) << ": /opt/tools/" << i << '\n';
  }
  ~DefinitionFile() { std::filesystem::remove(path); }
  DefinitionFile(const DefinitionFile &) = delete;
  DefinitionFile &operator=(const DefinitionFile &) = delete;

  const std::filesystem::path path;
};

template <typename Definition>
void load(State &state, Definition definition) {
  const DefinitionFile file(static_cast<int>(state.range(0)), definition);
  init_resource_manager();
  for ([[maybe_unused]] auto _ : state) {
    load_resources(file.path.c_str());
    delete_morvanel_resources();
    delete_all_resources();
  }
  state.SetComplexityN(state.range(0));
}

void oneTool(State &state) {
  load(state, [](const std::string &number) { return "MVL*tool*name" + number; });
}

void differentTools(State &state) {
  load(state, [](const std::string &number) { return "MVL*tool" + number + "*name"; });
}

void oneResource(State &state) {
  load(state, [](const std::string &) { return "MVL*tool*name"; });
}

void atThreeSizes(benchmark::internal::Benchmark *row) {
  row->Arg(25000)->Arg(200000)->Arg(1000000);
  row->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
}

BENCHMARK(oneTool)->Apply(atThreeSizes);
BENCHMARK(differentTools)->Apply(atThreeSizes);
BENCHMARK(oneResource)->Apply(atThreeSizes);

} // namespace

BENCHMARK_MAIN();
