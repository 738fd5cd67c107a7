#include "pos/Faults.h"
#include "pos/PosInternal.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <map>
#include <sstream>
#include <stdexcept>

using namespace kelvarune;

namespace {

TEST(PosStatus, ReadsEachTextAndWritesTheCanonicalOne) {
  const std::map<QString, pos::status_t> texts = {
      {"Unproved"_s, pos::UNPROVED},   {"Unknown"_s, pos::UNKNOWN},
      {"Proved"_s, pos::PROVED},       {"UnreliablyProved"_s, pos::UNRELIABLY_PROVED},
      {"Proved(0)"_s, pos::PROVED},    {"Proved(1)"_s, pos::PROVED},
      {"Proved(2)"_s, pos::PROVED},    {"Proved(3)"_s, pos::PROVED},
      {"Proved(Util)"_s, pos::PROVED}, {"Proved(Rapide)"_s, pos::PROVED},
      {"Disproved"_s, pos::DISPROVED}};
  EXPECT_EQ(pos::proofStatusOfAttrValue_dict(), texts);
  std::ostringstream shown;
  for (const auto &[status, mark] : pos::charOfStatus)
    shown << status << mark;
  EXPECT_EQ(shown.str(), "Unproved-Unknown-UnreliablyProved*Proved+Disproved!");
  EXPECT_THROW(pos::proofStatusOfAttrValue("Valid"_s), std::out_of_range);
  EXPECT_THROW(pos::strOfProofStatus(static_cast<pos::status_t>(5)), std::out_of_range);
}

TEST(GoalName, HasItsNumberAfterTheLastDot) {
  for (const char *text : {"T.1", "a.b.12", ".3"})
    EXPECT_EQ(pos::strOfGoalName(pos::goalNameOfStr(QString::fromUtf8(text)).value()).toStdString(),
              text);
  EXPECT_EQ(pos::goalNameOfStr("a.b.12"_s)->tag, "a.b"_s);
  for (const char *text : {"", "T", "1", "T.", "T.0", "T.-1", "T.x", "T.1x", "T.1."})
    EXPECT_FALSE(pos::goalNameOfStr(QString::fromUtf8(text))) << text;
}

// The goals have a status that never follows, so each has a fault: that one or an earlier.
TEST(ExpectedStatus, FollowsFromThePartsAndFaultsForeseeIt) {
  const struct {
    const char *name;
    const char *parts;
    const char *status; ///< Empty: there is an error.
  } rows[] = {
      {"nothing", "", "Unproved"},
      {"no proof state", "<Proof_State/><Proof_State proofState='Proved(0)'/>", "Unproved"},
      {"plain Proved is no proved state", "<Proof_State proofState='Proved'/>", "Unproved"},
      {"own proof", "<Proof_State proofState='Proved(Rapide)'/><Mechanism status='Unknown'/>",
       "Proved"},
      {"first status of the first iapa",
       "<iapa><x/><status value='Valid'/><status value='Invalid'/></iapa>"
       "<iapa><status value='Invalid'/></iapa><Mechanism status='Unknown'/>",
       "UnreliablyProved"},
      {"invalid beats own proof",
       "<Proof_State proofState='Proved(1)'/><iapa><status value='Invalid'/></iapa>", "Disproved"},
      {"iapa has no vote", "<iapa><status value='Unknown'/></iapa>", "Unproved"},
      {"one disproof beats proofs",
       "<Mechanism status='Proved'/><Mechanism status='Disproved'/><Mechanism status='Proved'/>",
       "Disproved"},
      {"proof beats unreliable proof",
       "<Mechanism status='UnreliablyProved'/><Mechanism status='Proved'/>", "Proved"},
      {"drivers and strange elements have no vote",
       "<x><Mechanism status='Disproved'/></x>"
       "<Mechanism status='Unproved'><Driver status='Proved'/></Mechanism>",
       "Unproved"},
      {"mechanism without verdict", "<Mechanism name='M'/>", ""},
      {"own proof's text of a mechanism", "<Mechanism status='Proved(0)'/>", ""},
      {"text of a mechanism in iapa", "<iapa><status value='Proved'/></iapa>", ""},
      {"iapa without value", "<iapa><status/></iapa>", ""},
      {"iapa without status", "<iapa value='Valid'/>", ""},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const QDomDocument document =
        documentOf("<r><Proof_Obligation><Simple_Goal status='Unknown'>" + std::string(row.parts) +
                   "</Simple_Goal></Proof_Obligation></r>");
    const pos::goal_t goal = pos::goalsOf(document).at(0);
    const std::vector<pos::fault_t> faults = pos::faultsOf(document, pos::use_t::CHECKING);
    ASSERT_EQ(faults.size(), 1u);
    if (faults[0].kind != pos::fault_kind_t::UNFOUNDED) {
      EXPECT_STREQ(row.status, "");
      EXPECT_THROW(pos::expectedStatus(goal.element), std::out_of_range);
    } else {
      EXPECT_EQ(pos::strOfProofStatus(faults[0].expected).toStdString(), row.status);
      EXPECT_EQ(pos::expectedStatus(goal.element), faults[0].expected);
    }
  }
}

} // namespace
