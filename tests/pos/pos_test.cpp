#include "pos/PosInternal.h"
#include "pos/pos.h"
#include "support/Fixtures.h"

#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

TEST(PosStatus, ReadsEachTextAndWritesTheCanonicalOne) {
  const struct {
    const char *text;
    pos::status_t status;
    const char *canonical;
    char mark;
  } rows[] = {
      {"Unproved", pos::UNPROVED, "Unproved", '-'},
      {"Unknown", pos::UNKNOWN, "Unknown", '-'},
      {"UnreliablyProved", pos::UNRELIABLY_PROVED, "UnreliablyProved", '*'},
      {"Proved", pos::PROVED, "Proved", '+'},
      {"Proved(0)", pos::PROVED, "Proved", '+'},
      {"Proved(1)", pos::PROVED, "Proved", '+'},
      {"Proved(2)", pos::PROVED, "Proved", '+'},
      {"Proved(3)", pos::PROVED, "Proved", '+'},
      {"Proved(Util)", pos::PROVED, "Proved", '+'},
      {"Proved(Rapide)", pos::PROVED, "Proved", '+'},
      {"Disproved", pos::DISPROVED, "Disproved", '!'},
  };
  EXPECT_EQ(pos::proofStatusOfAttrValue_dict().size(), std::size(rows));
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    const pos::status_t status = pos::proofStatusOfAttrValue(QString::fromUtf8(row.text));
    EXPECT_EQ(status, row.status);
    std::ostringstream stream;
    stream << "[" << status << "]";
    EXPECT_EQ(stream.str(), "[" + std::string(row.canonical) + "]");
    EXPECT_EQ(pos::charOfStatus.at(status), row.mark);
  }
}

TEST(PosStatus, RefusesWhatIsNoStatus) {
  for (const char *text : {"Valid", "Invalid", "proved", "Proved(4)", " Proved", ""}) {
    EXPECT_THROW(pos::proofStatusOfAttrValue(QString::fromUtf8(text)), std::out_of_range)
        << "'" << text << "'";
  }
  EXPECT_THROW(pos::strOfProofStatus(static_cast<pos::status_t>(5)), std::out_of_range);
}

pos::status_t expectedStatusOf(const std::string &parts) {
  const QDomDocument document = documentOf("<Simple_Goal>" + parts + "</Simple_Goal>");
  return pos::expectedStatus(document.documentElement());
}

TEST(ExpectedStatus, FollowsFromTheParts) {
  const struct {
    const char *name;
    const char *parts;
    pos::status_t status;
  } rows[] = {
      {"nothing at all", "", pos::UNPROVED},
      {"proof state without attribute", "<Proof_State/>", pos::UNPROVED},
      {"plain Proved is no proved state", "<Proof_State proofState='Proved'/>", pos::UNPROVED},
      {"unheard-of proof state", "<Proof_State proofState='Proved(9)'/>", pos::UNPROVED},
      {"proved state", "<Proof_State proofState='Proved(Rapide)'/>", pos::PROVED},
      {"only the first proof state counts",
       "<Proof_State proofState='Unproved'/><Proof_State proofState='Proved(0)'/>", pos::UNPROVED},
      {"valid", "<iapa><status value='Valid'/></iapa>", pos::UNRELIABLY_PROVED},
      {"invalid beats proved state",
       "<Proof_State proofState='Proved(1)'/><iapa><status value='Invalid'/></iapa>",
       pos::DISPROVED},
      {"iapa unknown", "<iapa><status value='Unknown'/></iapa>", pos::UNPROVED},
      {"iapa unproved does no harm",
       "<Proof_State proofState='Proved(2)'/><iapa><status value='Unproved'/></iapa>", pos::PROVED},
      {"only the first iapa counts",
       "<iapa><status value='Valid'/></iapa><iapa><status value='Invalid'/></iapa>",
       pos::UNRELIABLY_PROVED},
      {"only the first status of iapa counts",
       "<iapa><x/><status value='Unproved'/><status value='Invalid'/></iapa>", pos::UNPROVED},
      {"one disproof beats proofs",
       "<Proof_State proofState='Proved(0)'/><Mechanism status='Proved'/>"
       "<Mechanism status='Disproved'/><Mechanism status='Proved'/>",
       pos::DISPROVED},
      {"proof beats unreliable proof",
       "<Proof_State proofState='Unproved'/><Mechanism status='UnreliablyProved'/>"
       "<Mechanism status='Proved'/>",
       pos::PROVED},
      {"unreliable proof beats unknown",
       "<Mechanism status='UnreliablyProved'/><Mechanism status='Unknown'/>",
       pos::UNRELIABLY_PROVED},
      {"drivers and strange elements have no vote",
       "<x><Mechanism status='Disproved'/></x>"
       "<Mechanism status='Unproved'><Driver status='Proved'/></Mechanism>",
       pos::UNPROVED},
  };
  for (const auto &row : rows)
    EXPECT_EQ(expectedStatusOf(row.parts), row.status) << row.name;
}

TEST(ExpectedStatus, RefusesUnknownAndMissingVerdicts) {
  for (const char *parts :
       {"<Mechanism name='M'/>", "<Mechanism status='Proved(0)'/>",
        "<Mechanism status='Disproved'/><Mechanism status='Valid'/>", // though the first decides
        "<iapa><status value='Proved'/></iapa>", "<iapa/>", "<iapa><status/></iapa>"})
    EXPECT_THROW(expectedStatusOf(parts), std::out_of_range) << parts;
}

} // namespace
