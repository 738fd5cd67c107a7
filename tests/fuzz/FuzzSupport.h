#ifndef KELVARUNE_TESTS_FUZZ_FUZZSUPPORT_H
#define KELVARUNE_TESTS_FUZZ_FUZZSUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

/// Ends the program, as the fuzzer expects of a fault, when `holds` is false.
inline void require(bool holds, const char *what) {
  if (holds)
    return;
  std::fprintf(stderr, "Does not hold: %s\n", what);
  std::abort();
}

/// A directory of the process, in memory where there is such a place: inputs are written and
/// flushed thousands of times. Removed at the end.
class FuzzDirectory {
public:
  FuzzDirectory() {
    std::string name = "/dev/shm/kelvarune-fuzz-XXXXXX";
    if (!::mkdtemp(name.data())) {
      name = (std::filesystem::temp_directory_path() / "kelvarune-fuzz-XXXXXX").string();
      require(::mkdtemp(name.data()), "a temporary directory");
    }
    directory = name;
  }
  ~FuzzDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
  }
  FuzzDirectory(const FuzzDirectory &) = delete;
  FuzzDirectory &operator=(const FuzzDirectory &) = delete;

  std::string path(const std::string &name) const { return (directory / name).string(); }

  std::string write(const std::string &name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }

  std::string read(const std::string &name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

private:
  std::filesystem::path directory;
};

inline std::string_view textOf(const std::uint8_t *data, std::size_t size) {
  return {reinterpret_cast<const char *>(data), size};
}

/// Choices that depend on the input alone, so that an input always does the same.
inline std::mt19937 choicesOf(std::string_view input) {
  std::seed_seq seed(input.begin(), input.end());
  return std::mt19937(seed);
}

/// Runs `action`; the uncaught end by an out-of-range error is the documented one for statuses and
/// settings that do not exist. Returns whether it came to its normal end.
template <typename Action>
bool endsOrThrows(Action action) {
  try {
    action();
    return true;
  } catch (const std::out_of_range &) {
    return false;
  }
}

/// Silences what is told of bad input, which is no news here.
inline void silenceStreams() {
  std::cout.rdbuf(nullptr);
  std::cerr.rdbuf(nullptr);
  std::clog.rdbuf(nullptr);
}

#endif
