// Mechanism descriptions: the reader, the dump of what it read, and the remarks.

#include "FuzzSupport.h"
#include "mechanism/Mechanism.h"
#include "mechanism/Remarks.h"

#include <sstream>

void fuzz(const FuzzDirectory &directory, std::string_view input, std::mt19937 & /*choices*/) {
  const QString path = QString::fromStdString(directory.write("in.xml", input));
  mechanism::mechanism_t mechanism;
  endsOrThrows([&] {
    if (!mechanism::ofFile(path, mechanism, {"/bin"}))
      return;
    require(mechanism.name == "in", "a mechanism is named after its file");
    require(mechanism.drivers.size() == static_cast<std::size_t>(mechanism.driver_names.size()),
            "every driver has its name in the list");
  });
  std::ostringstream dump;
  endsOrThrows([&] { dump << mechanism; });
  for (const mechanism::remark_t &remark : mechanism::readRemarks({path}))
    require(remark.line > 0 && !remark.text.isEmpty(), "a remark says what is where");
}
