// Compares dumps as whole texts, so that every line, quote and empty line counts.

#include "mechanism/Mechanism.h"

#include <gtest/gtest.h>

#include <ios>
#include <sstream>

namespace {

QString text(const char *utf8) {
  return QString::fromUtf8(utf8);
}

mechanism::param_t parameter(const char *name, const char *separator, const char *value) {
  mechanism::param_t param;
  param.name = text(name);
  param.separator = text(separator);
  param.value = text(value);
  return param;
}

mechanism::mechanism_t fullMechanism() {
  mechanism::driver_t driver;
  driver.name = text("Étude");
  driver.group = mechanism::group_t::RELATED;
  driver.ext = text("smt2");
  driver.fast = true;
  driver.writer.name = text("w");
  driver.writer.default_path = text("bin/w");
  driver.writer.resource = text("Any*W_Path");
  driver.writer.path = "/opt/a \"b\\/w";
  driver.writer.parameters = {parameter("-x", " ", "1"), parameter("", "", "a\"b\nc")};
  driver.prover.name = text("p");
  driver.prover.path = "/opt/p\xff";
  driver.prover.timeout = 30;
  driver.prover.input = mechanism::input_t::FILE;
  driver.prover.parameters = {parameter("-t", "=", "30"), parameter("-q", " ", "")};
  driver.reader.name = text("r");

  mechanism::mechanism_t mechanism;
  mechanism.spare_text = text("unseen");
  mechanism.name = "Alto\xff";
  mechanism.trust = mechanism::trust_t::REDUNDANCY;
  mechanism.drivers = {driver, mechanism::driver_t()};
  mechanism.driver_names = QStringList{text("unseen")};
  return mechanism;
}

const std::string FULL_DUMP = R"([mechanism]
name = "Alto)"
                              "\xff"
                              R"("
trust = "redundancy"

[driver]
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
path = "/opt/p)"
                              "\xff"
                              R"("
timeout = "30"
input = file"

[parameters]
size = 2
[parameter]
name = "-t"
separator = "="
value = "30"

[parameter]
name = "-q"
separator = " "
value = ""

[reader]

[tool]
name = "r"
default_path = ""
resource = ""
path = ""

[parameters]
size = 0

[driver]
name = ""
group = "none"

[writer]

[tool]
name = ""
default_path = ""
resource = ""
path = ""

[parameters]
size = 0

[prover]
name = ""
default_path = ""
resource = ""
path = ""
timeout = "-1"
input = stdin"

[parameters]
size = 0
[reader]

[tool]
name = ""
default_path = ""
resource = ""
path = ""

[parameters]
size = 0

)";

TEST(MechanismDump, WritesEveryBlock) {
  std::ostringstream stream;
  stream << fullMechanism();
  EXPECT_EQ(stream.str(), FULL_DUMP);
}

TEST(MechanismDump, MechanismWithoutDriversHasFourLines) {
  std::ostringstream stream;
  stream << mechanism::mechanism_t();
  EXPECT_EQ(stream.str(), "[mechanism]\nname = \"\"\ntrust = \"never\"\n\n");
}

TEST(MechanismDump, NumbersIgnoreTheFlagsOfTheStream) {
  std::ostringstream stream;
  stream << std::hex << std::showbase << fullMechanism();
  EXPECT_EQ(stream.str(), FULL_DUMP);
}

TEST(MechanismDump, UnknownEnumerationValueIsAnError) {
  mechanism::mechanism_t mechanism;
  mechanism.trust = static_cast<mechanism::trust_t>(3);
  std::ostringstream stream;
  EXPECT_THROW(stream << mechanism, std::out_of_range);
}

} // namespace
