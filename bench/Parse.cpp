// What the XML library alone takes for a file: reads it into a document, and frees that again.
// Prints the seconds of both. Its peak memory is that of the bare document.

#include <QDomDocument>
#include <QFile>

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace {

using clock_type = std::chrono::steady_clock;

double secondsSince(clock_type::time_point start) {
  return std::chrono::duration<double>(clock_type::now() - start).count();
}

} // namespace

int main(int argc, char **argv) {
  QFile file(QFile::decodeName(argc == 2 ? argv[1] : ""));
  QDomDocument document;
  const clock_type::time_point start = clock_type::now();
  if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) {
    std::cerr << "Usage: " << argv[0] << " FILE, a well-formed XML document\n";
    return EXIT_FAILURE;
  }
  std::cout << "parse " << secondsSince(start) << '\n';
  const clock_type::time_point parsed = clock_type::now();
  document = QDomDocument();
  std::cout << "free " << secondsSince(parsed) << '\n';
  return EXIT_SUCCESS;
}
