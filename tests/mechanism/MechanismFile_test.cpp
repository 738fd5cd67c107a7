// Reads descriptions out of a directory in which the three tools stand as well.

#include "mechanism/Faults.h"
#include "mechanism/Mechanism.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

using namespace kelvarune;

namespace {

class MechanismFile : public testing::Test {
protected:
  MechanismFile() {
    for (const char *tool : {"writer", "prover", "reader"})
      directory.writeTool(tool, "");
  }

  /// Reads the description `content`: what ofFile says and raises, and the kinds of the faults.
  std::string read(const std::string &content) {
    return readFile(directory.write("Alto.v2.xml", content));
  }

  std::string readFile(const std::string &path) {
    const QString file = QString::fromStdString(path);
    const std::vector<std::string> installDirs = {directory.path().toStdString()};
    std::string kinds;
    for (const mechanism::fault_t &fault : mechanism::readFaults(file, mechanism, installDirs))
      kinds += ' ' + std::to_string(static_cast<int>(fault.kind));
    mechanism = {};
    testing::internal::CaptureStderr();
    try {
      const bool done = mechanism::ofFile(file, mechanism, installDirs);
      std::cerr << (done ? "good" : "bad");
    } catch (const std::out_of_range &error) {
      std::cerr << error.what();
    }
    return testing::internal::GetCapturedStderr() + kinds;
  }

  TemporaryDirectory directory;
  mechanism::mechanism_t mechanism;
};

/// Parameters in brackets; what is null shows as "-", what is empty as nothing.
std::string shown(const mechanism::tool_t &tool) {
  const auto field = [](const QString &text) { return text.isNull() ? "-" : text.toStdString(); };
  std::string text = tool.name.toStdString();
  for (const mechanism::param_t &param : tool.parameters)
    text += "[" + field(param.name) + "|" + field(param.separator) + "|" + field(param.value) + "]";
  return text;
}

std::string shown(const mechanism::driver_t &driver) {
  const QStringList texts = {mechanism::qstringOfGroup.at(driver.group), driver.ext,
                             QString::number(driver.fast), QString::number(driver.prover.timeout),
                             mechanism::qstringOfInput.at(driver.prover.input)};
  return texts.join(QLatin1Char(' ')).toStdString() + " " + shown(driver.writer) + " " +
         shown(driver.prover) + " " + shown(driver.reader);
}

// All drivers stand in one description; their names are those of the cases.
TEST_F(MechanismFile, ReadsDrivers) {
  const struct {
    const char *driver;
    const char *writer;
    const char *proverAttributes;
    const char *prover;
    const char *expected;
  } rows[] = {
      {"name='all absent'", "", "", "", "none po2 0 -1 stdin W P R"},
      {"name='empty is not absent' ext=''", "", "input='' timeout=''", "", "none  0 -1 file W P R"},
      {"name='fast' fast='true'", "", "", "", "none po2 1 -1 stdin W P R"},
      {"name='words' group='related'", "", "input='STDIN' timeout='-7'", "",
       "related po2 0 -7 file W P R"},
      {"name='no number'", "", "timeout='30s'", "", "none po2 0 0 stdin W P R"},
      {"name='absent and empty parameters'", "<param/><param name='' separator='' value=''/>",
       "timeout='5'", "<param/><param value=''/>",
       "none po2 0 5 stdin W[-| |-][||] P[-| |-][-| |] R"},
      {"name='own ones first, expansions as often as asked'",
       "<expand name='A'/><param name='x'><param name='y'/></param><expand name='A'/>", "", "",
       "none po2 0 -1 stdin W[x| |-][a| |${timeout}0][b| |-][a| |${timeout}0][b| |-] P R"},
      {"name='params after the definition count as such, the last of a name'",
       "<expand name='empty'/><expand name='twice'/><expand/>", "", "",
       "none po2 0 -1 stdin W[second| |-][nameless| |-] P R"},
      {"name='timeout in values of the prover only'", "<param value='${timeout}'/>",
       "timeout='a${timeout}'",
       "<param name='${timeout}' separator='${timeout}' value='${timeout},${TIMEOUT}'/>"
       "<expand name='A'/>",
       "none po2 0 0 stdin W[-| |${timeout}] P[${timeout}|${timeout}|a${timeout},${TIMEOUT}]"
       "[a| |a${timeout}0][b| |-] R"},
      {"name='no timeout'", "", "", "<param value='${timeout}'/>",
       "none po2 0 -1 stdin W P[-| |${timeout}] R"},
  };
  std::string content = "<!DOCTYPE m><mechanism trust='redundancy'><other><driver/></other>";
  for (const auto &row : rows)
    content += "<driver " + std::string(row.driver) + "><reader name='R' path='reader'/><x/>" +
               "<prover name='P' path='prover' " + row.proverAttributes + ">" + row.prover +
               "</prover><writer name='W' path='writer' resource='Any*None'>" + row.writer +
               "</writer><writer name='second' path='missing'/></driver>";
  content += "<definition name='A'><expand name='A'/><param name='a' value='${timeout}0'/>"
             "<param name='b'/></definition><param name='empty' value='v'/><param name='twice'/>"
             "<param name='twice'><param name='second'/></param><param><param name='nameless'/>"
             "</param></mechanism>";
  EXPECT_EQ(read(content), "good");
  EXPECT_EQ(mechanism.name, "Alto.v2");
  EXPECT_EQ(mechanism.trust, mechanism::trust_t::REDUNDANCY);
  ASSERT_EQ(mechanism.drivers.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const mechanism::driver_t &driver = mechanism.drivers[i];
    SCOPED_TRACE(driver.name.toStdString());
    EXPECT_EQ(shown(driver), rows[i].expected);
    EXPECT_EQ(driver.name, mechanism.driver_names.at(static_cast<int>(i)));
    EXPECT_EQ(driver.prover.path.filename(), "prover");
    EXPECT_TRUE(driver.prover.path.is_absolute());
    EXPECT_EQ((driver.writer.default_path + driver.writer.resource).toStdString(),
              "writerAny*None");
  }
}

// Compared whole, so that every line, quote and empty line counts; "$" stands for the end of a
// line.
TEST_F(MechanismFile, IsDumpedWhateverTheFlagsOfTheStream) {
  EXPECT_EQ(
      read("<mechanism trust='redundancy'><driver name='Étude' group='related'><writer name='w'"
           " path='writer' resource='Any*W_Path'><param name='-x' value='1'/>"
           "<param name='' separator='' value='a&quot;b&#10;c'/></writer><prover path='prover'"
           " timeout='30' input='file'><param name='-t' separator='=' value='30'/></prover>"
           "<reader path='reader'/></driver></mechanism>"),
      "good");
  std::ostringstream stream;
  stream << std::hex << std::showbase << mechanism;
  QString text = QString::fromStdString(stream.str());
  text.replace(directory.path(), "DIR"_s).replace(QLatin1Char('\n'), QLatin1Char('$'));
  EXPECT_EQ(text.toStdString(),
            "[mechanism]$name = \"Alto.v2\"$trust = \"redundancy\"$$[driver]$name = \"Étude\"$"
            "group = \"related\"$$[writer]$$[tool]$name = \"w\"$default_path = \"writer\"$"
            "resource = \"Any*W_Path\"$path = \"DIR/writer\"$$[parameters]$size = 2$$[parameter]$"
            "name = \"-x\"$separator = \" \"$value = \"1\"$$[parameter]$name = \"\"$"
            "separator = \"\"$value = \"a\"b$c\"$$[prover]$name = \"\"$default_path = \"prover\"$"
            "resource = \"\"$path = \"DIR/prover\"$timeout = \"30\"$input = file\"$$[parameters]$"
            "size = 1$[parameter]$name = \"-t\"$separator = \"=\"$value = \"30\"$$[reader]$$[tool]$"
            "name = \"\"$default_path = \"reader\"$resource = \"\"$path = \"DIR/reader\"$$"
            "[parameters]$size = 0$$");
  mechanism.trust = static_cast<mechanism::trust_t>(3);
  EXPECT_THROW(stream << mechanism, std::out_of_range);
}

// Faults by number: 0 unreadable, 1 malformed, 2 no mechanism, 3 word, 4 missing tool, 5 tool not
// found, 6 definition.
TEST_F(MechanismFile, EndsAtTheFirstFaultAndListsAll) {
  const std::string good = "<driver name='d'><writer path='writer'/><prover path='prover'/>"
                           "<reader path='reader'/></driver>";
  const auto writer = [](const std::string &content) {
    return "<driver><writer path='writer'>" + content +
           "</writer><prover path='prover'/><reader path='reader'/></driver>";
  };
  const struct {
    std::string content; ///< of the mechanism's element, or the whole document
    std::string expected;
    std::size_t drivers;
  } rows[] = {
      {"no XML", "good 1", 0},
      {"<mechanisms><mechanism trust='always'/></mechanisms>", "good 2", 0},
      {"<mechanism>" + good + "</mechanism><", "good 1", 1},
      {"<mechanism trust='Always'/>", "map::at 3", 0},
      {"<mechanism>" + good + "<driver group=''/></mechanism>", "map::at 3 4 4 4", 1},
      {"<mechanism>" + good + "<driver><writer path='writer'/><reader/></driver></mechanism>",
       "Cannot locate prover \nbad 4 5", 1},
      {"<mechanism><driver><writer name='É' path='gone'><expand/></writer></driver></mechanism>",
       "Cannot locate tool É\nbad 5 6 4 4", 0},
      {"<mechanism><param name='A'/><definition name='B'/><definition name='C'/>" +
           writer("<expand name='A'/><expand name='B'/><expand name='C'/>") + "</mechanism>",
       "map::at 6 6", 0},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(read(row.content), row.expected) << row.content;
    EXPECT_EQ(mechanism.drivers.size(), row.drivers) << row.content;
  }
  for (const char *name : {"missing-é.xml", "."}) {
    const std::string file = directory.bytePath(name);
    EXPECT_EQ(readFile(file), "Cannot open '" + file + "'.\nbad 0");
  }
}

} // namespace
