#include "pos/pos.h"
#include "support/Fixtures.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A document as text, with the attributes in the order of their names: comparable and readable.
void writeNode(const QDomNode &node, std::ostream &stream) {
  if (node.isText()) {
    stream << node.nodeValue().toStdString();
    return;
  }
  std::map<std::string, std::string> attributes;
  const QDomNamedNodeMap map = node.attributes();
  for (int i = 0; i < map.count(); ++i)
    attributes[map.item(i).nodeName().toStdString()] = map.item(i).nodeValue().toStdString();
  stream << "<" << node.nodeName().toStdString();
  for (const auto &[name, value] : attributes)
    stream << " " << name << "='" << value << "'";
  stream << ">";
  for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
    writeNode(child, stream);
  stream << "</" << node.nodeName().toStdString() << ">";
}

std::string treeOf(const QDomDocument &document) {
  std::ostringstream stream;
  writeNode(document.documentElement(), stream);
  return stream.str();
}

std::string posOf(const std::string &goals) {
  return "<Proof_Obligations><Proof_Obligation><Tag>t</Tag>" + goals +
         "</Proof_Obligation></Proof_Obligations>";
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

TEST_F(GetMechanisms, RefusesAnUnknownGoalStatus) {
  const std::string path = directory.write("c.pos", posOf("<Simple_Goal status='proved'/>"));
  EXPECT_THROW(pos::getMechanisms(path, names), std::out_of_range);
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
      {"plain Proved is no proved state",
       "<Simple_Goal status='Proved'><Proof_State proofState='Proved'/></Simple_Goal>",
       "<Simple_Goal status='Unproved'><Proof_State proofState='Proved'/></Simple_Goal>"},
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
    QDomDocument document = documentOf(posOf(row.before));
    pos::unprove(document);
    EXPECT_EQ(treeOf(document), treeOf(documentOf(posOf(row.after)))) << row.name;
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
      {"the only proof",
       "<Simple_Goal status='Proved'><Proof_State proofState='Unproved'/>"
       "<Mechanism name='M' status='Proved'/></Simple_Goal>",
       "<Simple_Goal status='Unproved'><Proof_State proofState='Unproved'/></Simple_Goal>", true},
      {"the only disproof",
       "<Simple_Goal status='Disproved'><Proof_State proofState='Proved(0)'/>"
       "<Mechanism name='M' status='Disproved'/></Simple_Goal>",
       "<Simple_Goal status='Proved'><Proof_State proofState='Proved(0)'/></Simple_Goal>", true},
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
    QDomDocument document = documentOf(posOf(row.before));
    bool changed = !row.changed;
    EXPECT_TRUE(pos::removeMechanism(document, QStringLiteral("M"), changed));
    EXPECT_EQ(changed, row.changed);
    EXPECT_EQ(treeOf(document), treeOf(documentOf(posOf(row.after))));
  }
}

TEST(RemoveMechanism, TakesAMissingNameForTheEmptyOne) {
  QDomDocument document = documentOf(posOf("<Simple_Goal><Mechanism/></Simple_Goal>"));
  bool changed = false;
  EXPECT_TRUE(pos::removeMechanism(document, QLatin1String(""), changed));
  EXPECT_TRUE(changed);
}

TEST(RemoveMechanism, RefusesANullDocument) {
  QDomDocument document;
  bool changed = true;
  EXPECT_FALSE(pos::removeMechanism(document, QStringLiteral("M"), changed));
  EXPECT_FALSE(changed);
}

TEST(RemoveMechanism, RefusesUnknownTextsInTheGoalsConcerned) {
  for (const char *goal :
       {"<Simple_Goal status='?'><Mechanism name='M' status='Proved'/></Simple_Goal>",
        "<Simple_Goal><Mechanism name='M' status='Proved'/><Mechanism name='N'/></Simple_Goal>"}) {
    QDomDocument document = documentOf(posOf(goal));
    bool changed = false;
    EXPECT_THROW(pos::removeMechanism(document, QStringLiteral("M"), changed), std::out_of_range)
        << goal;
  }
}

TEST(CheckPosInvariant, HoldsWhenEveryGoalAgrees) {
  testing::internal::CaptureStderr();
  EXPECT_TRUE(pos::checkPosInvariant(QDomDocument()));
  EXPECT_TRUE(pos::checkPosInvariant(documentOf(
      posOf("<Simple_Goal status='Proved'><Proof_State proofState='Proved(0)'/></Simple_Goal>"
            "<Simple_Goal/>"
            "<Simple_Goal status='Proved(1)'><Mechanism status='Proved'/></Simple_Goal>"))));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(CheckPosInvariant, ShowsTheFirstGoalThatDisagrees) {
  const QDomDocument document =
      documentOf(posOf("<Simple_Goal/><Simple_Goal status='Unproved'><x>&#xe9;</x>"
                       "<Mechanism status='Proved'/></Simple_Goal>"
                       "<Simple_Goal status='Disproved'/>"));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(pos::checkPosInvariant(document));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "    <Simple_Goal status=\"Unproved\">\n"
                                                    "        <x>\xc3\xa9</x>\n"
                                                    "        <Mechanism status=\"Proved\"/>\n"
                                                    "    </Simple_Goal>\n");
}

TEST(CheckPosInvariant, NeverHoldsForUnknown) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(pos::checkPosInvariant(documentOf(
      posOf("<Simple_Goal status='Unknown'><Mechanism status='Unknown'/></Simple_Goal>"))));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Unknown"));
}

TEST(CheckPosInvariant, RefusesUnknownTexts) {
  for (const char *goal :
       {"<Simple_Goal status='?'/>", "<Simple_Goal><Mechanism name='M'/></Simple_Goal>"})
    EXPECT_THROW(pos::checkPosInvariant(documentOf(posOf(goal))), std::out_of_range) << goal;
}

} // namespace
