// Replays a component without and with an observer, in one process after the other.
//
// Usage: bench-observed COMPONENT-DIRECTORY TOOL-DIRECTORY JOBS plain|observed. The component, as
// made by generate.py, loses its state. Prints the milliseconds that the replay took per entry.

#include "director/ProofDirector.h"
#include "process/StartUp.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

using namespace kelvarune;

int main(int argc, char **argv) {
  if (argc != 5) {
    std::cerr << "Usage: bench-observed COMPONENT TOOLS JOBS plain|observed\n";
    return EXIT_FAILURE;
  }
  process::startUp();
  const std::string component = argv[1];
  const bool observed = argv[4] == std::string("observed");
  const std::unique_ptr<ProofDirector> director(
      new ProofDirector("comp", component + "/bench.xml", component + "/comp.pos",
                        component + "/comp.pog", component + "/tmp", {argv[2]}, false,
                        static_cast<unsigned>(std::atoi(argv[3])), 0, "", "", false));
  std::atomic<unsigned long> entries = 0;
  if (observed)
    director->setObserver([&entries](const entry_record_t &record) {
      entries += record.verdicts.size() == static_cast<int>(record.goals.size()) ? 1 : 0;
    });
  if (!director->reloadPosFile())
    return EXIT_FAILURE;
  const auto begin = std::chrono::steady_clock::now();
  director->playDrivers();
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
  const unsigned long ended = director->progress().finished;
  if (ended == 0 || (observed && entries != ended))
    return EXIT_FAILURE;
  std::cerr << took.count() / static_cast<double>(ended) << '\n';
  return EXIT_SUCCESS;
}
