// Mechanism descriptions: the reader and the dump of what it read.

#include "FuzzSupport.h"
#include "mechanism/Mechanism.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const FuzzDirectory directory;
  static const bool prepared = [] {
    silenceStreams();
    return true;
  }();
  (void)prepared;
  const std::string path = directory.write("in.xml", textOf(data, size));
  mechanism::mechanism_t mechanism;
  endsOrThrows([&] {
    if (!mechanism::ofFile(QString::fromStdString(path), mechanism, {"/bin"}))
      return;
    require(mechanism.name == "in", "a mechanism is named after its file");
    require(mechanism.drivers.size() == static_cast<std::size_t>(mechanism.driver_names.size()),
            "every driver has its name in the list");
  });
  std::ostringstream dump;
  endsOrThrows([&] { dump << mechanism; });
  return 0;
}
