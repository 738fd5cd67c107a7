// Compares dumps as whole texts, so that every line, quote and empty line counts.

#include "mechanism/Mechanism.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <algorithm>
#include <ios>
#include <sstream>
#include <stdexcept>

using namespace kelvarune;

namespace {

mechanism::param_t param(const char *name, const char *separator, const char *value) {
  return {QString::fromUtf8(name), QString::fromUtf8(separator), QString::fromUtf8(value)};
}

mechanism::driver_t fullDriver() {
  mechanism::driver_t driver;
  driver.name = "Étude"_s;
  driver.group = mechanism::group_t::RELATED;
  driver.writer = {"w"_s,
                   "bin/w"_s,
                   "/opt/a \"b\\/w",
                   "Any*W_Path"_s,
                   {param("-x", " ", "1"), param("", "", "a\"b\nc")}};
  driver.prover.path = "/opt/p";
  driver.prover.timeout = 30;
  driver.prover.input = mechanism::input_t::FILE;
  driver.prover.parameters = {param("-t", "=", "30")};
  return driver;
}

// As in the text of the format, with "$" for the end of a line.
const std::string FULL_DRIVER =
    "[driver]$name = \"Étude\"$group = \"related\"$$[writer]$$[tool]$name = \"w\"$"
    "default_path = \"bin/w\"$resource = \"Any*W_Path\"$path = \"/opt/a \"b\\/w\"$$"
    "[parameters]$size = 2$$[parameter]$name = \"-x\"$separator = \" \"$value = \"1\"$$"
    "[parameter]$name = \"\"$separator = \"\"$value = \"a\"b$c\"$$"
    "[prover]$name = \"\"$default_path = \"\"$resource = \"\"$path = \"/opt/p\"$timeout = \"30\"$"
    "input = file\"$$[parameters]$size = 1$[parameter]$name = \"-t\"$separator = \"=\"$"
    "value = \"30\"$$[reader]$$[tool]$name = \"\"$default_path = \"\"$resource = \"\"$"
    "path = \"\"$$[parameters]$size = 0$$";

TEST(MechanismDump, WritesEveryBlockWhateverTheFlagsOfTheStream) {
  mechanism::mechanism_t mechanism;
  mechanism.name = "Alto\xff";
  mechanism.trust = mechanism::trust_t::REDUNDANCY;
  mechanism.drivers = {fullDriver(), fullDriver()};
  std::ostringstream stream;
  stream << std::hex << std::showbase << mechanism;
  std::string text = stream.str();
  std::replace(text.begin(), text.end(), '\n', '$');
  EXPECT_EQ(text,
            "[mechanism]$name = \"Alto\xff\"$trust = \"redundancy\"$$" + FULL_DRIVER + FULL_DRIVER);
  mechanism.trust = static_cast<mechanism::trust_t>(3);
  EXPECT_THROW(stream << mechanism, std::out_of_range);
}

} // namespace
