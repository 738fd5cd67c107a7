// The parts of a run whose cost could grow with the component, each alone: loading, updating,
// saving, selecting, reporting and splitting verdicts. What the XML library needs by itself stands
// beside them.
//
// Usage: bench-pieces COMPONENT-DIRECTORY... [Google Benchmark options]. The components, as made by
// generate.py, lose their state.

#include "director/ProofDirector.h"
#include "director/ReaderOutput.h"
#include "text/Literals.h"

#include <QDomDocument>
#include <QFile>
#include <QTextStream>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace kelvarune;

namespace {

using benchmark::State;

std::string toolDirectory;

struct component_t {
  std::string directory;
  std::string posPath() const { return directory + "/comp.pos"; }
};

std::unique_ptr<ProofDirector> makeDirector(const component_t &component) {
  auto director = std::make_unique<ProofDirector>(
      "comp", component.directory + "/bench.xml", component.posPath(),
      component.directory + "/comp.pog", component.directory + "/tmp",
      std::vector<std::string>{toolDirectory}, false, 1, 0, "", "", false);
  if (!director->isLoaded()) {
    std::cerr << "Cannot load the mechanism of " << component.directory << '\n';
    std::exit(EXIT_FAILURE);
  }
  return director;
}

std::unique_ptr<ProofDirector> loadedDirector(const component_t &component) {
  std::unique_ptr<ProofDirector> director = makeDirector(component);
  if (!director->reloadPosFile()) {
    std::cerr << "Cannot load " << component.posPath() << '\n';
    std::exit(EXIT_FAILURE);
  }
  director->setCurrentDriver(director->getMechanism().drivers.front());
  return director;
}

void parseBare(QDomDocument &document, const component_t &component) {
  QFile file(QString::fromStdString(component.posPath()));
  if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) {
    std::cerr << "Cannot read " << component.posPath() << '\n';
    std::exit(EXIT_FAILURE);
  }
}

/// Goes through all goals again and again, with strides so that neighbours in time are no
/// neighbours in the document, and with another verdict than the goal had before.
class Updates {
public:
  explicit Updates(ProofDirector &director) : director(director) {
    const po_data_list_t &obligations = director.getPoData();
    for (unsigned long i = 0; i < obligations.size(); ++i) {
      for (unsigned long j = 0; j < obligations[i].second.size(); ++j)
        addresses.emplace_back(i, j);
    }
  }

  void updateNext() {
    constexpr std::size_t STRIDE = 7919; // a prime
    const std::size_t round = count / addresses.size();
    const address_t &address = addresses[count * STRIDE % addresses.size()];
    director.updateStatus(address,
                          round % 2 == 0 ? pos::ATTR_VALUE_UNKNOWN : pos::ATTR_VALUE_PROVED);
    ++count;
  }

private:
  ProofDirector &director;
  std::vector<address_t> addresses;
  std::size_t count = 0;
};

void bareParse(State &state, const component_t &component) {
  for ([[maybe_unused]] auto _ : state) {
    auto document = std::make_unique<QDomDocument>();
    parseBare(*document, component);
    state.PauseTiming();
    document.reset();
    state.ResumeTiming();
  }
}

void load(State &state, const component_t &component) {
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    std::unique_ptr<ProofDirector> director = makeDirector(component);
    state.ResumeTiming();
    benchmark::DoNotOptimize(director->reloadPosFile());
    state.PauseTiming();
    director.reset();
    state.ResumeTiming();
  }
}

void report(State &state, const component_t &component) {
  for ([[maybe_unused]] auto _ : state) {
    pos::metrics_t metrics;
    benchmark::DoNotOptimize(pos::getMetrics(component.posPath(), metrics));
  }
}

void update(State &state, const component_t &component) {
  const std::unique_ptr<ProofDirector> director = loadedDirector(component);
  Updates updates(*director);
  for ([[maybe_unused]] auto _ : state)
    updates.updateNext();
}

void bareSave(State &state, const component_t &component) {
  QDomDocument document;
  parseBare(document, component);
  for ([[maybe_unused]] auto _ : state) {
    QByteArray bytes;
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    document.save(stream, pos::XML_INDENT);
    stream.flush();
    benchmark::DoNotOptimize(bytes);
  }
}

void firstSave(State &state, const component_t &component) {
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    std::unique_ptr<ProofDirector> director = loadedDirector(component);
    state.ResumeTiming();
    benchmark::DoNotOptimize(director->savePosFile());
    state.PauseTiming();
    director.reset();
    state.ResumeTiming();
  }
}

void updateAndSave(State &state, const component_t &component) {
  const std::unique_ptr<ProofDirector> director = loadedDirector(component);
  Updates updates(*director);
  director->savePosFile();
  for ([[maybe_unused]] auto _ : state) {
    updates.updateNext();
    if (!director->savePosFile())
      state.SkipWithError("The save failed.");
  }
}

void select(State &state, const component_t &component) {
  const std::unique_ptr<ProofDirector> director = loadedDirector(component);
  for ([[maybe_unused]] auto _ : state) {
    selection_t selection;
    director->selectForDriver(selection);
    director->produceWriterData("tmp"_s, "comp.pog"_s, selection);
    director->produceProverData();
  }
  state.counters["entries"] = static_cast<double>(director->getProverData().size());
}

// A driver that no goal waits for.
void selectNothing(State &state, const component_t &component) {
  const std::unique_ptr<ProofDirector> director = loadedDirector(component);
  mechanism::driver_t driver = director->getMechanism().drivers.front();
  driver.name = "another"_s;
  director->setCurrentDriver(driver);
  for ([[maybe_unused]] auto _ : state) {
    selection_t selection;
    benchmark::DoNotOptimize(director->hasWork());
    director->selectForDriver(selection);
    benchmark::DoNotOptimize(selection);
  }
}

void splitVerdicts(State &state) {
  constexpr std::size_t PIPE_READ = 4096;
  std::string text;
  for (int i = 0; i < state.range(0); ++i)
    text += i % 3 == 0 ? "Unknown\n" : "Proved\n";
  for ([[maybe_unused]] auto _ : state) {
    ReaderOutput output;
    for (std::size_t at = 0; at < text.size(); at += PIPE_READ)
      output.append(text.data() + at, std::min(PIPE_READ, text.size() - at));
    LineCursor lines(output.text());
    std::size_t proved = 0;
    while (!lines.atEnd())
      proved += lines.next() == "Proved" ? 1 : 0;
    benchmark::DoNotOptimize(proved);
  }
}

void registerPieces(const component_t &component) {
  using piece_t = void (*)(State &, const component_t &);
  // Those that change the file come last.
  const std::pair<const char *, piece_t> pieces[] = {{"bare_parse", bareParse},
                                                     {"load", load},
                                                     {"report", report},
                                                     {"select", select},
                                                     {"select_nothing", selectNothing},
                                                     {"update", update},
                                                     {"bare_save", bareSave},
                                                     {"first_save", firstSave},
                                                     {"update_and_save", updateAndSave}};
  const std::string size = component.directory.substr(component.directory.find_last_of('/') + 1);
  for (const auto &[name, piece] : pieces) {
    const auto function = [piece = piece, component](State &state) { piece(state, component); };
    benchmark::RegisterBenchmark((std::string(name) + "/" + size).c_str(), function)
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
  }
}

} // namespace

int main(int argc, char **argv) {
  const std::string self = argv[0];
  toolDirectory = self.substr(0, self.find_last_of('/') + 1) + ".";
  benchmark::Initialize(&argc, argv);
  for (int i = 1; i < argc; ++i)
    registerPieces({argv[i]});
  benchmark::RegisterBenchmark("split_verdicts", splitVerdicts)
      ->Arg(1)
      ->Arg(100)
      ->Arg(10000)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
