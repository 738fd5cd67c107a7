// Reads descriptions out of a directory in which the three tools stand as well.

#include "mechanism/Mechanism.h"
#include "support/Fixtures.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

#include <sys/stat.h>

namespace {

class MechanismFile : public testing::Test {
protected:
  MechanismFile()
      : clogBefore(std::clog.rdbuf(log.rdbuf())), cerrBefore(std::cerr.rdbuf(errors.rdbuf())) {
    for (const char *tool : {"writer", "prover", "reader"})
      directory.writeTool(tool, "");
  }
  ~MechanismFile() override {
    std::clog.rdbuf(clogBefore);
    std::cerr.rdbuf(cerrBefore);
  }

  /// Reads `content` as a description; `log` and `errors` are what it wrote.
  bool read(const std::string &content) {
    return readFile(directory.write("Alto.v2.xml", content));
  }

  bool readFile(const std::string &file) {
    log.str("");
    errors.str("");
    mechanism = {};
    return mechanism::ofFile(QString::fromStdString(file), mechanism,
                             {directory.path().toStdString()});
  }

  /// As read, with a description that is expected to be good.
  void readGood(const std::string &content) {
    EXPECT_TRUE(read(content));
    EXPECT_EQ(log.str() + errors.str(), "");
  }

  TemporaryDirectory directory;
  mechanism::mechanism_t mechanism;
  std::ostringstream log;
  std::ostringstream errors;

private:
  std::streambuf *clogBefore;
  std::streambuf *cerrBefore;
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

/// A tool as one text: its name, path as written, resource, file found and parameters.
std::string shown(const mechanism::tool_t &tool) {
  const QStringList texts = {tool.name, tool.default_path, tool.resource};
  return texts.join(QLatin1Char(' ')).toStdString() + " " + tool.path.filename().native() + " " +
         shown(tool.parameters);
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
  EXPECT_EQ(shown(driver.writer), "W writer  writer [-x|=|1]");
  EXPECT_EQ(shown(driver.prover), "P prover No prover ");
  EXPECT_EQ(driver.prover.timeout, 30);
  EXPECT_EQ(driver.prover.input, mechanism::input_t::FILE);
  EXPECT_EQ(shown(driver.reader), "R reader Any*None reader ");
  EXPECT_EQ(driver.reader.path.parent_path(),
            std::filesystem::canonical(directory.path().toStdString()));
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
      {"input is exactly stdin", "", "input='STDIN' timeout=''", "none,po2,0,-1,file"},
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
  const std::string descriptions[] = {
      "<mechanism trust='sometimes'/>",
      "<mechanism trust=''/>",
      "<mechanism trust='Always'/>",
      "<mechanism><driver group='half'/></mechanism>",
      "<mechanism><driver group=''/></mechanism>",
      withTools("", "<expand name='A'/>", "", ""),
      withTools("", "", "", "<expand name='A'/>"),
      // Only the first definition is one, and a param only after it.
      withTools("<definition name='A'/><definition name='B'/>", "<expand name='B'/>", "", ""),
      withTools("<param name='P'/><definition name='A'/>", "<expand name='P'/>", "", ""),
      withTools("<param name='P'/>", "<expand name='P'/>", "", ""),
  };
  for (const std::string &description : descriptions)
    EXPECT_THROW(read(description), std::out_of_range) << description;
}

TEST_F(MechanismFile, ReadsAsFarAsItGoes) {
  const auto driver = [](const std::string &tools) { return "<driver>" + tools + "</driver>"; };
  const struct {
    const char *name;
    std::string content;
    std::size_t drivers;
    const char *errors; ///< Empty: it counts as read.
  } rows[] = {
      {"empty file", "", 0, ""},
      {"no XML", "driver", 0, ""},
      {"another root", "<mechanisms><mechanism trust='always'/></mechanisms>", 0, ""},
      {"malformed after a driver", "<mechanism>" + DRIVER + "</mechanism><", 1, ""},
      {"malformed inside", "<mechanism>" + DRIVER + "<driver </mechanism>", 1, ""},
      {"no prover", "<mechanism>" + DRIVER + driver(WRITER + READER) + DRIVER + "</mechanism>", 1,
       "Cannot locate prover \n"},
      {"a definition is looked up only for a tool that is there",
       "<mechanism>" + driver("<writer name='É' path='gone'><expand name='A'/></writer>") +
           "</mechanism>",
       0, "Cannot locate tool É\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(read(row.content), *row.errors == '\0');
    EXPECT_EQ(errors.str(), row.errors);
    EXPECT_EQ(log.str(), "");
    EXPECT_EQ(mechanism.drivers.size(), row.drivers);
    EXPECT_EQ(mechanism.driver_names.size(), static_cast<int>(row.drivers));
    EXPECT_EQ(mechanism.trust, mechanism::trust_t::NEVER);
    EXPECT_EQ(mechanism.name, "Alto.v2");
  }
}

TEST_F(MechanismFile, WhatCannotBeOpenedIsLogged) {
  ASSERT_EQ(::mkdir(directory.bytePath("dir.xml").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo.xml").c_str(), 0600), 0);
  for (const char *name : {"missing-é.xml", "dir.xml", "fifo.xml"}) {
    const std::string file = directory.bytePath(name);
    EXPECT_FALSE(readFile(file)) << name;
    EXPECT_EQ(log.str(), "Cannot open '" + file + "'.\n");
    EXPECT_EQ(errors.str(), "");
  }
}

} // namespace
