#include "pos/pos.h"
#include "support/Fixtures.h"
#include "support/Pos.h"

#include <stdexcept>

namespace {

// Every status at every level, and elements in places where they do not count.
const std::string RICH = R"xml(<r><Simple_Goal status="Disproved"/><Proof_Obligation>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved(0)"/>
    <Mechanism name="B" status="Proved"><Driver name="d2" status="Proved"/>
      <Driver name="d1" status="Unknown"/><Driver name="d1" status="Unknown"/></Mechanism>
    <Mechanism name="A" status="Proved"><Driver name="d3" status="UnreliablyProved"/></Mechanism>
  </Simple_Goal>
  <Simple_Goal status="Proved(2)"><Proof_State/><Proof_State proofState="Proved(2)"/></Simple_Goal>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved"/>
    <Mechanism name="B" status="Unknown"/><Mechanism name="B" status="Proved(1)"/></Simple_Goal>
  <Simple_Goal status="UnreliablyProved"><Proof_State proofState="Proved(3)"/>
    <Mechanism name="B" status="UnreliablyProved"/><Mechanism name="B" status="UnreliablyProved"/>
  </Simple_Goal></Proof_Obligation><Proof_Obligation>
  <Simple_Goal status="Disproved"><x><Mechanism name="B" status="Proved"/></x>
    <Mechanism name="B" status="Disproved"><Driver name="d1" status="Disproved"/></Mechanism>
  </Simple_Goal>
  <Simple_Goal status="Unknown"/><Simple_Goal><Mechanism><Driver/></Mechanism></Simple_Goal>
</Proof_Obligation></r>)xml";
const std::string RICH_COUNTS = "goals 7 1 3 1 1 2 2\n 1 0 0 0 0\n/ 1 0 0 0\nA 0 0 1 0 0\n"
                                "A/d3 0 0 0 0\nB 0 1 2 2 1\nB/d1 0 2 0 1\nB/d2 0 0 1 0\n";

// Unreliable drivers are named but not counted.
TEST(Metrics, CountAtAllLevelsAndStartAnewButForTheProofStates) {
  const TemporaryDirectory directory;
  EXPECT_EQ(shown(pos::metricsOf(documentOf(RICH))), RICH_COUNTS);
  pos::metrics_t metrics;
  for (const int proofStates : {2, 4}) {
    EXPECT_TRUE(pos::getMetrics(directory.write("c.pos", RICH), metrics));
    EXPECT_EQ(metrics.provedByProofState, proofStates);
  }
  EXPECT_FALSE(pos::getMetrics(directory.bytePath("absent.pos"), metrics));
  metrics.provedByProofState = 2;
  EXPECT_EQ(shown(metrics), RICH_COUNTS);
  EXPECT_TRUE(pos::getMetrics(directory.write("c.pos", RICH.substr(0, RICH.size() - 3)), metrics));
  EXPECT_EQ(shown(metrics), "goals 0 0 0 0 0 0 2\n") << "not well-formed";
}

TEST(Metrics, RefuseUnknownStatusesAtEachLevel) {
  for (const char *goal :
       {"<Simple_Goal status=''/>", "<Simple_Goal><Mechanism status='Valid'/></Simple_Goal>",
        "<Simple_Goal><Mechanism status='Proved'/><Mechanism status='proved'/></Simple_Goal>",
        "<Simple_Goal><Mechanism><Driver status='?'/></Mechanism></Simple_Goal>"})
    EXPECT_THROW(pos::metricsOf(documentOf("<r><Proof_Obligation>" + std::string(goal) +
                                           "</Proof_Obligation></r>")),
                 std::out_of_range)
        << goal;
}

} // namespace
