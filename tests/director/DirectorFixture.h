#ifndef KELVARUNE_TESTS_DIRECTOR_DIRECTORFIXTURE_H
#define KELVARUNE_TESTS_DIRECTOR_DIRECTORFIXTURE_H

#include "director/ProofDirector.h"
#include "pos/PosInternal.h"
#include "support/Fixtures.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

using namespace kelvarune;

/// A component with three goals in two obligations, and a mechanism whose reader says what stands
/// in the file "verdicts".
class Director : public testing::Test {
protected:
  Director() { SetUpFiles(); }

  void SetUpFiles() {
    directory.writeTool("writer", R"(#!/bin/sh
while [ "$1" != -o ]; do shift; done; echo "$2" > "$2"
)");
    directory.writeTool("prover", "#!/bin/sh\ncat\n");
    directory.writeTool("reader",
                        "#!/bin/sh\ncat > /dev/null\ncat " + directory.bytePath("verdicts") + "\n");
    directory.write("c.pog", "");
    directory.write("verdicts", "Proved\n");
    writePos();
  }

  void writePos() {
    directory.write("c.pos", R"(<Proof_Obligations>
      <Proof_Obligation><Tag>A</Tag><Simple_Goal status="Unproved"/><Simple_Goal status="Unknown"/>
      </Proof_Obligation>
      <Proof_Obligation><Tag>B</Tag><Simple_Goal status="Proved"/></Proof_Obligation>
    </Proof_Obligations>)");
  }

  static std::string driver(const std::string &name, const std::string &attributes = "") {
    return "<driver name=\"" + name + "\" " + attributes +
           "><writer path=\"writer\"/><prover path=\"prover\"/><reader path=\"reader\"/></driver>";
  }

  ProofDirector &make(const std::string &drivers, const std::string &trust = "always",
                      const std::string &goal = "", unsigned jobs = 1) {
    directory.write("m.xml", "<mechanism trust=\"" + trust + "\">" + drivers + "</mechanism>");
    director.reset(new ProofDirector("c", directory.bytePath("m.xml"), directory.bytePath("c.pos"),
                                     directory.bytePath("c.pog"), directory.path().toStdString(),
                                     {directory.path().toStdString()}, false, jobs, 0, "", goal,
                                     false));
    EXPECT_TRUE(director->isLoaded());
    return *director;
  }

  /// What the first driver is to prove.
  static selection_t select(ProofDirector &which) {
    which.loadPosFile();
    which.setCurrentDriver(which.getMechanism().drivers.at(0));
    selection_t selection;
    which.selectForDriver(selection);
    return selection;
  }

  /// How many processes have this command line.
  static int processesRunning(const char *commandLine) {
    int count = 0;
    for (const QString &pid : QDir("/proc"_s).entryList({"[1-9]*"_s})) {
      QFile file("/proc/%1/cmdline"_s.arg(pid));
      if (file.open(QIODevice::ReadOnly))
        count += file.readAll().replace('\0', ' ').trimmed() == commandLine ? 1 : 0;
    }
    return count;
  }

  std::string play(ProofDirector &which) {
    testing::internal::CaptureStdout();
    which.play();
    return testing::internal::GetCapturedStdout();
  }

  /// "goal status/mechanism status/driver statuses" of each goal in the file.
  std::string savedStatuses() {
    const QDomDocument document = documentOf(directory.read("c.pos"));
    QStringList goals;
    for (const pos::goal_t &goal : pos::goalsOf(document)) {
      const QDomElement mechanism = goal.element.firstChildElement(pos::TAG_MECHANISM);
      QStringList parts = {goal.element.attribute(pos::ATTR_STATUS),
                           mechanism.attribute(pos::ATTR_STATUS)};
      for (const QDomElement &element : xml::children(mechanism, pos::TAG_DRIVER))
        parts << element.attribute(pos::ATTR_STATUS);
      goals << parts.join(QLatin1Char('/'));
    }
    return goals.join(QLatin1Char(' ')).toStdString();
  }

  TemporaryDirectory directory;
  std::unique_ptr<ProofDirector> director;
};

#endif
