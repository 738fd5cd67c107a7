#include "pos/pos.h"
#include "support/Fixtures.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using testing::ElementsAre;

std::string lineOf(const std::string &name, const std::vector<std::int32_t> &counts) {
  std::string line = name + ":";
  for (const std::int32_t count : counts)
    line += " " + std::to_string(count);
  return line;
}

// All counters in the order of the fields, one text per record.
std::vector<std::string> linesOf(const pos::metrics_t &metrics) {
  std::vector<std::string> lines = {
      lineOf(std::to_string(metrics.total),
             {metrics.unproved, metrics.proved, metrics.unreliablyProved, metrics.disproved,
              metrics.provedExternally, metrics.provedByProofState})};
  for (const auto &[name, counts] : metrics.mechanisms) {
    lines.push_back(lineOf(name, {counts->unproved, counts->unknown, counts->proved,
                                  counts->unreliablyProved, counts->disproved}));
    for (const auto &[driverName, driver] : counts->drivers)
      lines.push_back(lineOf(name + "/" + driverName, {driver->unproved, driver->unknown,
                                                       driver->proved, driver->disproved}));
  }
  return lines;
}

// Every status at every level, and elements in places where they do not count.
const std::string RICH = R"xml(<Proof_Obligations author="proof_director">
  <Simple_Goal status="Disproved"/>
  <Proof_Obligation><Tag>one</Tag>
    <Simple_Goal status="Proved"><Proof_State proofState="Proved(0)"/>
      <Mechanism name="B" status="Proved"><Driver name="d2" status="Proved"/>
        <Driver name="d1" status="Unknown"/><Driver name="d1" status="Unknown"/></Mechanism>
      <Mechanism name="A" status="Proved"><Driver name="d3" status="UnreliablyProved"/></Mechanism>
    </Simple_Goal>
    <Simple_Goal status="Proved(2)"><Proof_State proofState="Proved(2)"/></Simple_Goal>
    <Simple_Goal status="Proved"><Proof_State proofState="Proved"/>
      <Mechanism name="B" status="Unknown"/><Mechanism name="B" status="Proved(1)"/></Simple_Goal>
    <Simple_Goal status="UnreliablyProved"><Mechanism name="B" status="UnreliablyProved"/>
      <Mechanism name="A" status="UnreliablyProved"><Driver name="d1" status="Proved"/></Mechanism>
      <Mechanism name="B" status="UnreliablyProved"/><Mechanism name="B" status="UnreliablyProved"/>
    </Simple_Goal>
    <Simple_Goal status="UnreliablyProved"/>
  </Proof_Obligation>
  <Proof_Obligation>
    <Simple_Goal status="Disproved"><x><Mechanism name="B" status="Proved"/></x>
      <Mechanism name="B" status="Disproved"><Driver name="d1" status="Disproved"/>
        <Driver name="d1" status="Disproved"/><Driver name="d1" status="Disproved"/></Mechanism>
    </Simple_Goal>
    <Simple_Goal status="Unknown"><Mechanism name="A" status="Unknown"/></Simple_Goal>
    <Simple_Goal/><Simple_Goal/><Simple_Goal/>
    <Simple_Goal><Mechanism><Driver/></Mechanism></Simple_Goal>
  </Proof_Obligation>
</Proof_Obligations>)xml";

std::string posOf(const std::string &goal) {
  return "<r><Proof_Obligation>" + goal + "</Proof_Obligation></r>";
}

class GetMetrics : public testing::Test {
protected:
  bool read(const std::string &content) {
    return pos::getMetrics(directory.write("c.pos", content), metrics);
  }

  TemporaryDirectory directory;
  pos::metrics_t metrics;
};

// Unreliable drivers are named but not counted.
TEST_F(GetMetrics, CountsAtAllLevels) {
  EXPECT_TRUE(read(RICH));
  EXPECT_THAT(linesOf(metrics), ElementsAre("11: 4 3 2 1 2 2", ": 1 0 0 0 0", "/: 1 0 0 0",
                                            "A: 0 1 1 1 0", "A/d1: 0 0 1 0", "A/d3: 0 0 0 0",
                                            "B: 0 1 2 3 1", "B/d1: 0 2 0 3", "B/d2: 0 0 1 0"));
}

TEST_F(GetMetrics, AnotherReadingAddsOnlyToTheProofStates) {
  EXPECT_TRUE(read(RICH));
  const std::vector<std::string> first = linesOf(metrics);
  EXPECT_TRUE(read(RICH));
  EXPECT_EQ(metrics.provedByProofState, 4);
  metrics.provedByProofState = 2;
  EXPECT_EQ(linesOf(metrics), first);
  EXPECT_FALSE(pos::getMetrics(directory.bytePath("absent.pos"), metrics));
  EXPECT_EQ(linesOf(metrics), first);

  for (const std::string &content : {std::string("<Proof_Obligations/>"), std::string("no XML"),
                                     std::string(), RICH.substr(0, RICH.size() - 3)}) {
    EXPECT_TRUE(read(RICH));
    metrics.provedByProofState = 0;
    EXPECT_TRUE(read(content)) << content;
    EXPECT_THAT(linesOf(metrics), ElementsAre("0: 0 0 0 0 0 0")) << content;
  }
}

TEST_F(GetMetrics, RefusesUnknownStatusesAtEachLevel) {
  for (const char *goal :
       {"<Simple_Goal status=''/>", "<Simple_Goal><Mechanism status='Valid'/></Simple_Goal>",
        "<Simple_Goal><Mechanism status='Proved'/><Mechanism status='proved'/></Simple_Goal>",
        "<Simple_Goal><Mechanism><Driver status='?'/></Mechanism></Simple_Goal>"})
    EXPECT_THROW(read(posOf(goal)), std::out_of_range) << goal;
}

} // namespace
