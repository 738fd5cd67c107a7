// Reads descriptions out of a directory in which the three tools stand as well.

#include "mechanism/Mechanism.h"
#include "support/Fixtures.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

#include <sys/stat.h>

namespace {

/// What is written to one of the standard streams while this lives.
class Captured {
public:
  explicit Captured(std::ostream &stream) : stream(stream), saved(stream.rdbuf(text.rdbuf())) {}
  ~Captured() { stream.rdbuf(saved); }
  Captured(const Captured &) = delete;
  Captured &operator=(const Captured &) = delete;

  std::string str() const { return text.str(); }

private:
  std::ostringstream text;
  std::ostream &stream;
  std::streambuf *saved;
};

class MechanismFile : public testing::Test {
protected:
  MechanismFile() {
    for (const char *tool : {"writer", "prover", "reader"})
      directory.writeTool(tool, "");
  }

  /// Reads `content` as a description; `log` and `errors` are what it wrote.
  bool read(const std::string &content) {
    return readFile(QString::fromStdString(directory.write("Alto.v2.xml", content)));
  }

  bool readFile(const QString &file) {
    const Captured clog(std::clog);
    const Captured cerr(std::cerr);
    mechanism = {};
    const bool result = mechanism::ofFile(file, mechanism, {directory.path().toStdString()});
    log = clog.str();
    errors = cerr.str();
    return result;
  }

  /// As read, with a description that is expected to be good.
  void readGood(const std::string &content) {
    EXPECT_TRUE(read(content));
    EXPECT_EQ(log, "");
    EXPECT_EQ(errors, "");
  }

  TemporaryDirectory directory;
  mechanism::mechanism_t mechanism;
  std::string log;
  std::string errors;
};

const std::string WRITER = R"(<writer name="W" path="writer"/>)";
const std::string PROVER = R"(<prover name="P" path="prover"/>)";
const std::string READER = R"(<reader name="R" path="reader"/>)";
const std::string DRIVER = "<driver name='d'>" + WRITER + PROVER + READER + "</driver>";

/// A mechanism with one driver: `definitions`, and the content and attributes of its tools.
std::string withTools(const std::string &definitions, const std::string &writer,
                      const std::string &proverAttributes, const std::string &prover) {
  return "<mechanism>" + definitions + "<driver><writer path='writer'>" + writer +
         "</writer><prover path='prover' " + proverAttributes + ">" + prover + "</prover>" +
         READER + "</driver></mechanism>";
}

/// A list of parameters as one text; what is null shows as "-", what is empty as nothing.
std::string shown(const QList<mechanism::param_t> &list) {
  const auto field = [](const QString &text) { return text.isNull() ? "-" : text.toStdString(); };
  std::string all;
  for (const mechanism::param_t &param : list)
    all += "[" + field(param.name) + "|" + field(param.separator) + "|" + field(param.value) + "]";
  return all;
}

TEST_F(MechanismFile, ReadsEveryField) {
  readGood(R"(<?xml version="1.0" encoding="UTF-8"?>
    <!DOCTYPE mechanism>
    <mechanism trust="redundancy">
      <driver name="Énd" group="full" ext="smt2" fast="true">
        <reader name="R" path="reader" resource="Any*None"/>
        <prover name="P" path="prover" resource="No" input="file" timeout="30"/>
        <ignored><writer name="deep" path="writer"/></ignored>
        <writer name="W" path="writer"><param name="-x" separator="=" value="1"/></writer>
        <writer name="second" path="missing"/>
      </driver>
      <other><driver/></other>
      <driver name="next">)" +
           WRITER + PROVER + READER + R"(</driver>
    </mechanism>)");
  EXPECT_EQ(mechanism.name, "Alto.v2");
  EXPECT_EQ(mechanism.trust, mechanism::trust_t::REDUNDANCY);
  EXPECT_TRUE(mechanism.spare_text.isEmpty());
  EXPECT_EQ(mechanism.driver_names.join(QLatin1Char(',')).toStdString(), "Énd,next");
  ASSERT_EQ(mechanism.drivers.size(), 2u);

  const mechanism::driver_t &driver = mechanism.drivers[0];
  EXPECT_EQ(driver.name.toStdString(), "Énd");
  EXPECT_EQ(driver.group, mechanism::group_t::FULL);
  EXPECT_EQ(driver.ext.toStdString(), "smt2");
  EXPECT_TRUE(driver.fast);
  EXPECT_EQ(driver.writer.name.toStdString(), "W");
  EXPECT_EQ(driver.writer.default_path.toStdString(), "writer");
  EXPECT_EQ(shown(driver.writer.parameters), "[-x|=|1]");
  EXPECT_EQ(driver.prover.name.toStdString(), "P");
  EXPECT_EQ(driver.prover.resource.toStdString(), "No");
  EXPECT_EQ(driver.prover.timeout, 30);
  EXPECT_EQ(driver.prover.input, mechanism::input_t::FILE);
  EXPECT_EQ(driver.reader.name.toStdString(), "R");
  EXPECT_EQ(driver.reader.resource.toStdString(), "Any*None");
  const auto directoryPath = std::filesystem::canonical(directory.path().toStdString());
  EXPECT_EQ(driver.writer.path.native(), (directoryPath / "writer").native());
  EXPECT_EQ(driver.prover.path.native(), (directoryPath / "prover").native());
  EXPECT_EQ(driver.reader.path.native(), (directoryPath / "reader").native());
  EXPECT_EQ(mechanism.drivers[1].name.toStdString(), "next");
}

TEST_F(MechanismFile, ReadsDriverAndProverSettings) {
  const struct {
    const char *name;
    const char *driverAttributes;
    const char *proverAttributes;
    const char *expected; ///< group, ext, fast, timeout, input
  } rows[] = {
      {"all absent", "", "", "none,po2,0,-1,stdin"},
      {"empty is not absent", "ext=''", "input=''", "none,,0,-1,file"},
      {"fast is exactly true", "fast='true'", "", "none,po2,1,-1,stdin"},
      {"fast with a capital", "fast='True'", "", "none,po2,0,-1,stdin"},
      {"groups", "group='related'", "", "related,po2,0,-1,stdin"},
      {"input is exactly stdin", "", "input='STDIN'", "none,po2,0,-1,file"},
      {"input stdin", "", "input='stdin'", "none,po2,0,-1,stdin"},
      {"input unknown", "", "input='pipe'", "none,po2,0,-1,file"},
      {"timeout empty", "", "timeout=''", "none,po2,0,-1,stdin"},
      {"timeout negative", "", "timeout='-7'", "none,po2,0,-7,stdin"},
      {"timeout no number", "", "timeout='30s'", "none,po2,0,0,stdin"},
      {"timeout too large", "", "timeout='2147483648'", "none,po2,0,0,stdin"},
      {"timeout in base 10 only", "", "timeout='0x10'", "none,po2,0,0,stdin"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    readGood("<mechanism><driver " + std::string(row.driverAttributes) + ">" + WRITER +
             "<prover path='prover' " + row.proverAttributes + "/>" + READER +
             "</driver></mechanism>");
    ASSERT_EQ(mechanism.drivers.size(), 1u);
    const mechanism::driver_t &driver = mechanism.drivers[0];
    std::ostringstream settings;
    settings << mechanism::qstringOfGroup.at(driver.group).toStdString() << ","
             << driver.ext.toStdString() << "," << driver.fast << "," << driver.prover.timeout
             << "," << mechanism::qstringOfInput.at(driver.prover.input).toStdString();
    EXPECT_EQ(settings.str(), row.expected);
  }
}

TEST_F(MechanismFile, ReadsParameters) {
  const char *const A = "<definition name='A'><param name='a1'/><param name='a2'/></definition>";
  const struct {
    const char *name;
    std::string content;
    const char *writer;
    const char *prover;
  } rows[] = {
      {"absent and empty differ",
       withTools("", "<param/><param name='' separator='' value=''/>", "", ""), "[-| |-][||]", ""},
      {"own ones first, expansions in their order, twice if asked",
       withTools(A, "<expand name='A'/><param name='x'/><expand name='A'/>", "", ""),
       "[x| |-][a1| |-][a2| |-][a1| |-][a2| |-]", ""},
      {"a definition after the driver, without a name",
       "<mechanism><driver><writer path='writer'><expand/></writer>" + PROVER + READER +
           "</driver><definition><param name='late'/></definition></mechanism>",
       "[late| |-]", ""},
      {"a param after the definition counts as one, by default without parameters",
       withTools(std::string(A) + "<param name='P' value='v'/>",
                 "<param name='x'/><expand name='P'/>", "", ""),
       "[x| |-]", ""},
      {"a param that counts as a definition may hold parameters and replaces earlier ones",
       withTools(std::string(A) + "<param name='P'/><definition name='B'/>"
                                  "<param name='P'><param name='p1'/></param>"
                                  "<param name='A'/>",
                 "<expand name='P'/><expand name='A'/>", "", ""),
       "[p1| |-]", ""},
      {"an expand in a definition does nothing",
       withTools("<definition name='A'><expand name='A'/><param name='a'/></definition>",
                 "<expand name='A'/>", "", ""),
       "[a| |-]", ""},
      {"only direct children are parameters",
       withTools("", "<group><param name='deep'/></group><param name='x'><param name='y'/></param>",
                 "", ""),
       "[x| |-]", ""},
      {"the timeout enters the values of the prover only, expanded ones too",
       withTools(
           "<definition name='T'><param name='${timeout}' value='${timeout}000'/></definition>",
           "<expand name='T'/>", "timeout='30'",
           "<param name='-t' separator='${timeout}' value='${timeout},${timeout}'/>"
           "<expand name='T'/>"),
       "[${timeout}| |${timeout}000]", "[-t|${timeout}|30,30][${timeout}| |30000]"},
      {"the raw text of the timeout enters, even one that is no number",
       withTools("", "", "timeout='a${timeout}'", "<param value='${timeout} ${TIMEOUT}'/>"), "",
       "[-| |a${timeout} ${TIMEOUT}]"},
      {"values without timeout stay as they are, null ones too",
       withTools("", "", "timeout='5'", "<param/><param value=''/>"), "", "[-| |-][-| |]"},
      {"without a timeout nothing is replaced",
       withTools("", "", "timeout=''", "<param value='${timeout}'/>"), "", "[-| |${timeout}]"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    readGood(row.content);
    ASSERT_EQ(mechanism.drivers.size(), 1u);
    EXPECT_EQ(shown(mechanism.drivers[0].writer.parameters), row.writer);
    EXPECT_EQ(shown(mechanism.drivers[0].prover.parameters), row.prover);
  }
}

TEST_F(MechanismFile, StrictLookupsThrow) {
  const struct {
    const char *name;
    std::string content;
  } rows[] = {
      {"trust unknown", "<mechanism trust='sometimes'/>"},
      {"trust empty", "<mechanism trust=''/>"},
      {"trust with a capital", "<mechanism trust='Always'/>"},
      {"group unknown", "<mechanism><driver group='half'/></mechanism>"},
      {"group empty", "<mechanism><driver group=''/></mechanism>"},
      {"expand of nothing", withTools("", "<expand name='A'/>", "", "")},
      {"expand in the prover", withTools("", "", "", "<expand name='A'/>")},
      {"expand of a second definition",
       withTools("<definition name='A'/><definition name='B'/>", "<expand name='B'/>", "", "")},
      {"expand of a param before the definition",
       withTools("<param name='P'/><definition name='A'/>", "<expand name='P'/>", "", "")},
      {"expand of a param without any definition",
       withTools("<param name='P'/>", "<expand name='P'/>", "", "")},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    try {
      read(row.content);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::out_of_range &error) {
      EXPECT_STREQ(error.what(), "map::at");
    }
  }
}

TEST_F(MechanismFile, MissingToolsEndTheReading) {
  const auto driver = [](const std::string &tools) { return "<driver>" + tools + "</driver>"; };
  const struct {
    const char *name;
    std::string content;
    const char *errors;
    std::size_t drivers;
  } rows[] = {
      {"writer", driver("<writer name='É' path='gone'/>" + PROVER + READER),
       "Cannot locate tool É\n", 0},
      {"prover", DRIVER + driver(WRITER + "<prover name='Pr' path='gone'/>" + READER) + DRIVER,
       "Cannot locate prover Pr\n", 1},
      {"reader", driver(WRITER + PROVER + "<reader name='Rd' path='gone'/>"),
       "Cannot locate tool Rd\n", 0},
      {"no writer element", DRIVER + DRIVER + driver(PROVER + READER), "Cannot locate tool \n", 2},
      {"no prover element", driver(WRITER + READER), "Cannot locate prover \n", 0},
      {"no reader element", driver(WRITER + PROVER), "Cannot locate tool \n", 0},
      {"a definition is looked up only for a tool that is there",
       driver("<writer name='w' path='gone'><expand name='A'/></writer>"), "Cannot locate tool w\n",
       0},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_FALSE(read("<mechanism>" + row.content + "</mechanism>"));
    EXPECT_EQ(errors, row.errors);
    EXPECT_EQ(log, "");
    EXPECT_EQ(mechanism.drivers.size(), row.drivers);
    EXPECT_EQ(mechanism.driver_names.size(), static_cast<int>(row.drivers));
  }
}

TEST_F(MechanismFile, WhatIsNoMechanismReadsAsAnEmptyOne) {
  const struct {
    const char *name;
    std::string content;
    std::size_t drivers;
  } rows[] = {
      {"empty file", "", 0},
      {"no XML", "driver", 0},
      {"another root", "<mechanisms><mechanism trust='always'/></mechanisms>", 0},
      {"malformed after a driver", "<mechanism>" + DRIVER + "</mechanism><", 1},
      {"malformed inside", "<mechanism>" + DRIVER + "<driver </mechanism>", 1},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    readGood(row.content);
    EXPECT_EQ(mechanism.drivers.size(), row.drivers);
    EXPECT_EQ(mechanism.trust, mechanism::trust_t::NEVER);
    EXPECT_EQ(mechanism.name, "Alto.v2");
  }
}

TEST_F(MechanismFile, WhatCannotBeOpenedIsLogged) {
  ASSERT_EQ(::mkdir(directory.bytePath("dir.xml").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo.xml").c_str(), 0600), 0);
  for (const char *name : {"missing-é.xml", "dir.xml", "fifo.xml"}) {
    SCOPED_TRACE(name);
    const std::string file = directory.bytePath(name);
    EXPECT_FALSE(readFile(QString::fromStdString(file)));
    EXPECT_EQ(log, "Cannot open '" + file + "'.\n");
    EXPECT_EQ(errors, "");
  }
}

} // namespace
