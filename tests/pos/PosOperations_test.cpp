#include "pos/pos.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace kelvarune;

namespace {

using testing::ElementsAre;

std::string posOf(const std::string &goals) {
  return "<Proof_Obligations><Proof_Obligation><Tag>t</Tag>" + goals +
         "</Proof_Obligation></Proof_Obligations>";
}

// Attributes are in the same order in documents with the same ones.
QDomDocument posDocument(const std::string &goals) {
  qSetGlobalQHashSeed(0);
  return documentOf(posOf(goals));
}

std::string treeOf(const QDomDocument &document) {
  return document.toString(-1).toStdString();
}

class GetMechanisms : public testing::Test {
protected:
  TemporaryDirectory directory;
  std::vector<std::string> names = {"old"};
};

TEST_F(GetMechanisms, ListsEachNameOnceAsItFirstAppears) {
  const std::string path = directory.write(
      "c.pos", "<any author='x'><Mechanism name='too high'/><Proof_Obligation>"
               "<Mechanism name='still too high'/><Simple_Goal status='Proved(3)'>"
               "<Mechanism name='B'><Mechanism name='too deep'/></Mechanism><x/>"
               "<Mechanism name='A'/></Simple_Goal></Proof_Obligation>"
               "<Proof_Obligation><Simple_Goal><Mechanism name='B'/><Mechanism/>"
               "<Mechanism name='&#xe9;'/></Simple_Goal></Proof_Obligation>"
               "<Other><Simple_Goal><Mechanism name='elsewhere'/></Simple_Goal></Other></any>");
  EXPECT_TRUE(pos::getMechanisms(path, names));
  EXPECT_THAT(names, ElementsAre("B", "A", "", "\xc3\xa9"));
}

TEST_F(GetMechanisms, LeavesTheNamesWhenThereIsNoFile) {
  EXPECT_FALSE(pos::getMechanisms(directory.bytePath("absent.pos"), names));
  EXPECT_FALSE(pos::getMechanisms(directory.path().toStdString(), names));
  EXPECT_THAT(names, ElementsAre("old"));
}

TEST_F(GetMechanisms, FindsNothingInAFileThatIsNotWellFormed) {
  const std::string goal = "<Simple_Goal><Mechanism name='M'/></Simple_Goal>";
  const std::string whole = posOf(goal);
  for (const std::string &content : {std::string(), std::string("no XML"), whole + "<more/>",
                                     posOf(goal + "<open>"), whole.substr(0, whole.size() - 5)}) {
    names = {"old"};
    EXPECT_TRUE(pos::getMechanisms(directory.write("c.pos", content), names)) << content;
    EXPECT_THAT(names, ElementsAre()) << content;
  }
}

TEST(Unprove, KeepsWhatTheProofStateSays) {
  const struct {
    const char *name;
    const char *before;
    const char *after;
  } rows[] = {
      {"proved state, disproved by a mechanism and by iapa",
       "<Simple_Goal status='Disproved'><Proof_State proofState='Proved(Util)'/>"
       "<iapa><status value='Invalid'/></iapa>"
       "<Mechanism name='A' status='Disproved'><Driver name='D' status='Disproved'/></Mechanism>"
       "<Mechanism name='B' status='Proved'/></Simple_Goal>",
       "<Simple_Goal status='Proved'><Proof_State proofState='Proved(Util)'/>"
       "<iapa><status value='Invalid'/></iapa>"
       "<Mechanism name='A' status='Unproved'><Driver name='D' status='Disproved'/></Mechanism>"
       "<Mechanism name='B' status='Unproved'/></Simple_Goal>"},
      {"without proof state and statuses", "<Simple_Goal><Mechanism/></Simple_Goal>",
       "<Simple_Goal status='Unproved'><Mechanism status='Unproved'/></Simple_Goal>"},
      {"strange texts are not read, strange elements not touched",
       "<Simple_Goal status='?'>text<x status='?'/><Mechanism status='?'/></Simple_Goal>",
       "<Simple_Goal status='Unproved'>text<x status='?'/><Mechanism status='Unproved'/>"
       "</Simple_Goal>"},
      {"every goal",
       "<Simple_Goal status='Proved'/><x/><Simple_Goal status='Proved'/></Proof_Obligation>"
       "<Proof_Obligation><Simple_Goal status='Proved'/>",
       "<Simple_Goal status='Unproved'/><x/><Simple_Goal status='Unproved'/></Proof_Obligation>"
       "<Proof_Obligation><Simple_Goal status='Unproved'/>"},
  };
  for (const auto &row : rows) {
    QDomDocument document = posDocument(row.before);
    pos::unprove(document);
    EXPECT_EQ(treeOf(document), treeOf(posDocument(row.after))) << row.name;
  }
}

TEST(RemoveMechanism, TakesOutOnePerGoalAndCorrectsTheStatus) {
  const struct {
    const char *name;
    const char *before;
    const char *after;
    bool changed;
  } rows[] = {
      {"in no goal, even where the status is wrong",
       "<Simple_Goal status='Proved'><Mechanism name='m' status='?'/></Simple_Goal>",
       "<Simple_Goal status='Proved'><Mechanism name='m' status='?'/></Simple_Goal>", false},
      {"same meaning, another text",
       "<Simple_Goal status='Proved(0)'><Proof_State proofState='Proved(0)'/>"
       "<Mechanism name='M'/></Simple_Goal>",
       "<Simple_Goal status='Proved(0)'><Proof_State proofState='Proved(0)'/></Simple_Goal>", true},
      {"no status stays none when unproved follows",
       "<Simple_Goal><Mechanism name='M' status='Proved'/></Simple_Goal>", "<Simple_Goal/>", true},
      {"unknown never follows",
       "<Simple_Goal status='Unknown'><Mechanism name='M' status='Unknown'/></Simple_Goal>",
       "<Simple_Goal status='Unproved'/>", true},
      {"twice in one goal: the second stays and votes",
       "<Simple_Goal status='Disproved'><Mechanism name='L' status='Unknown'/>"
       "<Mechanism name='M' status='Disproved'/><x/><Mechanism name='M' status='Proved'/>"
       "</Simple_Goal>",
       "<Simple_Goal status='Proved'><Mechanism name='L' status='Unknown'/><x/>"
       "<Mechanism name='M' status='Proved'/></Simple_Goal>",
       true},
      {"in several goals",
       "<Simple_Goal status='Proved'><Mechanism name='M' status='Proved'/></Simple_Goal>"
       "<Simple_Goal status='Proved'><Mechanism name='N' status='Proved'/></Simple_Goal>"
       "</Proof_Obligation><Proof_Obligation>"
       "<Simple_Goal status='Proved'><Mechanism name='M' status='Proved'/></Simple_Goal>",
       "<Simple_Goal status='Unproved'/>"
       "<Simple_Goal status='Proved'><Mechanism name='N' status='Proved'/></Simple_Goal>"
       "</Proof_Obligation><Proof_Obligation><Simple_Goal status='Unproved'/>",
       true},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    QDomDocument document = posDocument(row.before);
    bool changed = !row.changed;
    EXPECT_TRUE(pos::removeMechanism(document, "M"_s, changed));
    EXPECT_EQ(changed, row.changed);
    EXPECT_EQ(treeOf(document), treeOf(posDocument(row.after)));
  }
}

TEST(RemoveMechanism, TakesAMissingNameForTheEmptyOneAndNoNullDocument) {
  QDomDocument document = posDocument("<Simple_Goal><Mechanism/></Simple_Goal>");
  bool changed = false;
  EXPECT_TRUE(pos::removeMechanism(document, ""_s, changed));
  EXPECT_TRUE(changed);
  QDomDocument null;
  EXPECT_FALSE(pos::removeMechanism(null, "M"_s, changed));
  EXPECT_FALSE(changed);
}

TEST(CheckPosInvariant, ShowsTheFirstGoalThatDisagrees) {
  const struct {
    const char *goals;
    const char *shown; ///< Empty: it holds.
  } rows[] = {
      {"<Simple_Goal status='Proved'><Proof_State proofState='Proved(0)'/></Simple_Goal>"
       "<Simple_Goal/>"
       "<Simple_Goal status='Proved(1)'><Mechanism status='Proved'/></Simple_Goal>",
       ""},
      {"<Simple_Goal/><Simple_Goal status='Unproved'><x>&#xe9;</x><Mechanism status='Proved'/>"
       "</Simple_Goal><Simple_Goal status='Disproved'/>",
       "    <Simple_Goal status=\"Unproved\">\n        <x>é</x>\n"
       "        <Mechanism status=\"Proved\"/>\n    </Simple_Goal>\n"},
      // "Unknown" never follows.
      {"<Simple_Goal status='Unknown'/>", "    <Simple_Goal status=\"Unknown\"/>\n"},
  };
  EXPECT_TRUE(pos::checkPosInvariant(QDomDocument()));
  for (const auto &row : rows) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(pos::checkPosInvariant(posDocument(row.goals)), *row.shown == '\0') << row.goals;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.shown);
  }
}

TEST_F(GetMechanisms, AndTheOtherOperationsRefuseUnknownTextsInTheGoalsConcerned) {
  const std::string path = directory.write("c.pos", posOf("<Simple_Goal status='proved'/>"));
  EXPECT_THROW(pos::getMechanisms(path, names), std::out_of_range);
  for (const char *goal :
       {"<Simple_Goal status='?'><Mechanism name='M' status='Proved'/></Simple_Goal>",
        "<Simple_Goal><Mechanism name='M' status='Proved'/><Mechanism name='N'/></Simple_Goal>"}) {
    QDomDocument document = posDocument(goal);
    bool changed = false;
    EXPECT_THROW(pos::checkPosInvariant(document), std::out_of_range) << goal;
    EXPECT_THROW(pos::removeMechanism(document, "M"_s, changed), std::out_of_range) << goal;
  }
}

} // namespace
