#include "pos/pos.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace kelvarune;

namespace {

using testing::ElementsAre;

// Attributes are in the same order in documents with the same ones.
QDomDocument posDocument(const std::string &goals) {
  qSetGlobalQHashSeed(0);
  return documentOf("<r><Proof_Obligation>" + goals + "</Proof_Obligation></r>");
}

std::string goal(const std::string &attributes, const std::string &parts) {
  return "<Simple_Goal " + attributes + ">" + parts + "</Simple_Goal>";
}

std::string mechanism(const std::string &attributes) {
  return "<Mechanism " + attributes + "><Driver status='Unknown'/></Mechanism>";
}

const std::string NEXT = "</Proof_Obligation><x/><Proof_Obligation>";

TEST(GetMechanisms, ListsEachNameOnceAsItFirstAppears) {
  const TemporaryDirectory directory;
  const std::string content =
      "<r><Mechanism name='high'/><Proof_Obligation><Mechanism name='high'/><Simple_Goal>"
      "<Mechanism name='B'><Mechanism name='deep'/></Mechanism><x/><Mechanism name='A'/>"
      "</Simple_Goal></Proof_Obligation><Proof_Obligation><Simple_Goal><Mechanism name='B'/>"
      "<Mechanism/></Simple_Goal></Proof_Obligation>"
      "<Other><Simple_Goal><Mechanism name='elsewhere'/></Simple_Goal></Other></r>";
  std::vector<std::string> names = {"old"};
  EXPECT_FALSE(pos::getMechanisms(directory.bytePath("absent.pos"), names));
  EXPECT_THAT(names, ElementsAre("old"));
  EXPECT_TRUE(pos::getMechanisms(directory.write("c.pos", content), names));
  EXPECT_THAT(names, ElementsAre("B", "A", ""));
  EXPECT_TRUE(pos::getMechanisms(directory.write("c.pos", content + "<more/>"), names));
  EXPECT_THAT(names, ElementsAre()) << "not well-formed";
  const std::string faulty = posDocument(goal("status='proved'", "")).toString().toStdString();
  EXPECT_THROW(pos::getMechanisms(directory.write("c.pos", faulty), names), std::out_of_range);
}

TEST(RemoveMechanism, TakesOneOutOfEachGoalAndCorrectsTheStatus) {
  const std::string own = "<Proof_State proofState='Proved(0)'/>";
  const std::string M = mechanism("name='M' status='Disproved'");
  const std::string second = mechanism("name='M' status='Proved'");
  const std::string other = goal("status='Proved'", mechanism("name='m' status='?'")); // stays
  const std::string unnamed = goal("", mechanism("status='Unknown'"));
  // What stays: a text that means the same, no text that means "Unproved", the next of that name.
  QDomDocument document =
      posDocument(other + goal("status='Proved(0)'", own + M) + goal("", M) + NEXT +
                  goal("status='Unknown'", M) + goal("status='Disproved'", M + second) + unnamed);
  bool changed = false;
  for (const char *name : {"M", ""}) {
    EXPECT_TRUE(pos::removeMechanism(document, QString::fromUtf8(name), changed));
    EXPECT_TRUE(changed);
  }
  EXPECT_EQ(document.toString(), posDocument(other + goal("status='Proved(0)'", own) +
                                             goal("", "") + NEXT + goal("status='Unproved'", "") +
                                             goal("status='Proved'", second) + goal("", ""))
                                     .toString());
  EXPECT_TRUE(pos::removeMechanism(document, "N"_s, changed));
  EXPECT_FALSE(changed);
  QDomDocument null;
  EXPECT_FALSE(pos::removeMechanism(null, "M"_s, changed));
}

TEST(CheckPosInvariant, ShowsTheFirstGoalThatDisagrees) {
  const std::string good = goal("status='Proved(1)'", mechanism("status='Proved'"));
  EXPECT_TRUE(pos::checkPosInvariant(posDocument(good)));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(pos::checkPosInvariant(
      posDocument(good + goal("", "<Mechanism status='Proved'/>") + goal("status='x'", ""))));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "    <Simple_Goal>\n        <Mechanism status=\"Proved\"/>\n    </Simple_Goal>\n");
}

} // namespace
