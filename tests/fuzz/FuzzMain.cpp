// What libFuzzer calls. In builds without it this gives the files named on the command line to the
// target, one by one, which keeps the corpus and the cases found earlier as tests.

#include "FuzzSupport.h"

#include <QHashFunctions>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>

void require(bool holds, const char *what) {
  if (holds)
    return;
  std::fprintf(stderr, "Does not hold: %s\n", what);
  std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const FuzzDirectory directory;
  qSetGlobalQHashSeed(0);
  for (std::ostream *complaints : {&std::cout, &std::cerr, &std::clog})
    complaints->rdbuf(nullptr);
  const std::string_view input(reinterpret_cast<const char *>(data), size);
  std::seed_seq seed(input.begin(), input.end());
  std::mt19937 choices(seed);
  fuzz(directory, input, choices);
  return 0;
}

#ifndef KELVARUNE_LIBFUZZER
int main(int argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    std::printf("%s\n", argv[i]);
    std::fflush(stdout); // The last line names the input that crashed.
    std::ifstream file(argv[i], std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
  }
  return argc > 1 ? 0 : 1;
}
#endif
