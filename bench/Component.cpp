// A component as the baselines see it: they get the entries ready from a file, because choosing
// them is no part of what a baseline stands for.

#include "Component.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace bench {

namespace {

constexpr int FIRST_READER_ARGUMENT = 4;

// One entry per line, its addresses as pairs of numbers.
std::vector<entry_t> readEntries(const std::string &path) {
  std::ifstream file(path);
  if (!file)
    throw std::runtime_error("Cannot read " + path);
  std::vector<entry_t> entries;
  for (std::string line; std::getline(file, line);) {
    std::istringstream numbers(line);
    entry_t entry;
    for (address_t address; numbers >> address.first >> address.second;)
      entry.push_back(address);
    entries.push_back(std::move(entry));
  }
  return entries;
}

} // namespace

std::string component_t::secondaryFile(std::size_t entry) const {
  return directory + "/tmp/comp_bench_d1_" + std::to_string(entry) + ".po2";
}

std::vector<std::string> component_t::writerArguments(std::size_t entry) const {
  std::vector<std::string> arguments;
  for (const auto &[obligation, goal] : entries.at(entry)) {
    arguments.emplace_back("-a");
    arguments.push_back(std::to_string(obligation));
    arguments.push_back(std::to_string(goal));
  }
  for (const std::string &argument :
       {std::string("-i"), directory + "/comp.pog", std::string("-o"), secondaryFile(entry)})
    arguments.push_back(argument);
  return arguments;
}

component_t componentOfArguments(int argc, char **argv) {
  if (argc < FIRST_READER_ARGUMENT)
    throw std::runtime_error("Usage: " + std::string(argv[0]) +
                             " COMPONENT-DIRECTORY TOOL-DIRECTORY JOBS READER-ARGUMENT...");
  component_t component;
  component.directory = argv[1];
  component.tools = argv[2];
  component.jobs = std::stoul(argv[3]);
  component.readerArguments.assign(argv + FIRST_READER_ARGUMENT, argv + argc);
  component.entries = readEntries(component.directory + "/entries.txt");
  return component;
}

double runEntries(const component_t &component, const std::function<void(std::size_t)> &work) {
  const auto start = std::chrono::steady_clock::now();
  std::atomic<std::size_t> next = 0;
  const auto job = [&] {
    for (std::size_t index = next++; index < component.entries.size(); index = next++)
      work(index);
  };
  if (component.jobs == 1) {
    job();
  } else {
    std::vector<std::thread> threads;
    for (unsigned long i = 0; i < component.jobs; ++i)
      threads.emplace_back(job);
    for (std::thread &thread : threads)
      thread.join();
  }
  for (std::size_t i = 0; i < component.entries.size(); ++i)
    ::unlink(component.secondaryFile(i).c_str());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<std::string> linesOf(const std::string &text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

} // namespace bench
