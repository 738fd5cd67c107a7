// Gives the files named on the command line, or in directories named there, to a fuzz target, one
// by one. In builds without libFuzzer this keeps the corpus and the cases found earlier as tests.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

int replay(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::printf("%s\n", path.c_str());
  std::fflush(stdout); // The last line names the input that crashed.
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
  return 1;
}

} // namespace

int main(int argc, char **argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path = argv[i];
    if (!std::filesystem::is_directory(path)) {
      count += replay(path);
      continue;
    }
    for (const auto &entry : std::filesystem::directory_iterator(path))
      count += replay(entry.path());
  }
  return count > 0 ? 0 : 1;
}
