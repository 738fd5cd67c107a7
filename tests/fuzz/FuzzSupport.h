#ifndef KELVARUNE_TESTS_FUZZ_FUZZSUPPORT_H
#define KELVARUNE_TESTS_FUZZ_FUZZSUPPORT_H

#include <QTemporaryDir>

#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

/// Ends the program, as the fuzzer expects of a fault, when `holds` is false.
void require(bool holds, const char *what);

/// A directory of the process. Removed at the end.
class FuzzDirectory {
public:
  std::string path(const std::string &name) const {
    return directory.filePath(QString::fromStdString(name)).toStdString();
  }

  std::string write(const std::string &name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }

private:
  QTemporaryDir directory;
};

/// What each target does with an input. `choices` depend on the input alone, so that an input
/// always does the same.
void fuzz(const FuzzDirectory &directory, std::string_view input, std::mt19937 &choices);

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

#endif
