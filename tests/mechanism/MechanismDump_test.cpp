// Compares dumps as whole texts, so that every line, quote and empty line counts.

#include "mechanism/Mechanism.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <ios>
#include <sstream>

using namespace kelvarune;

namespace {

void readParameters(const std::string &xml, mechanism::tool_t &tool) {
  mechanism::paramListOfXml(documentOf("<x>" + xml + "</x>").documentElement(), tool.parameters);
}

mechanism::driver_t fullDriver() {
  mechanism::driver_t driver;
  driver.name = "Étude"_s;
  driver.group = mechanism::group_t::RELATED;
  driver.writer.name = "w"_s;
  driver.writer.default_path = "bin/w"_s;
  driver.writer.resource = "Any*W_Path"_s;
  driver.writer.path = "/opt/a \"b\\/w";
  readParameters("<param name='-x' value='1'/><param separator='' value='a&quot;b&#10;c'/>",
                 driver.writer);
  driver.prover.name = "p"_s;
  driver.prover.path = "/opt/p";
  driver.prover.timeout = 30;
  driver.prover.input = mechanism::input_t::FILE;
  readParameters("<param name='-t' separator='=' value='30'/>", driver.prover);
  return driver;
}

const std::string FULL_DRIVER = R"([driver]
name = "Étude"
group = "related"

[writer]

[tool]
name = "w"
default_path = "bin/w"
resource = "Any*W_Path"
path = "/opt/a "b\/w"

[parameters]
size = 2

[parameter]
name = "-x"
separator = " "
value = "1"

[parameter]
name = ""
separator = ""
value = "a"b
c"

[prover]
name = "p"
default_path = ""
resource = ""
path = "/opt/p"
timeout = "30"
input = file"

[parameters]
size = 1
[parameter]
name = "-t"
separator = "="
value = "30"

[reader]

[tool]
name = ""
default_path = ""
resource = ""
path = ""

[parameters]
size = 0

)";

TEST(MechanismDump, WritesEveryBlockWhateverTheFlagsOfTheStream) {
  mechanism::mechanism_t mechanism;
  mechanism.name = "Alto\xff";
  mechanism.trust = mechanism::trust_t::REDUNDANCY;
  mechanism.drivers = {fullDriver(), fullDriver()};
  std::ostringstream stream;
  stream << std::hex << std::showbase << mechanism;
  EXPECT_EQ(stream.str(), "[mechanism]\nname = \"Alto\xff\"\ntrust = \"redundancy\"\n\n" +
                              FULL_DRIVER + FULL_DRIVER);
}

TEST(MechanismDump, UnknownEnumerationValueIsAnError) {
  mechanism::mechanism_t mechanism;
  mechanism.trust = static_cast<mechanism::trust_t>(3);
  std::ostringstream stream;
  EXPECT_THROW(stream << mechanism, std::out_of_range);
}

} // namespace
