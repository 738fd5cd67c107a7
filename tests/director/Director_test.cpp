// The director as graphical tools embed it: registering, designated goals, the job loops and
// stopping. What the command line reaches is tested by running the programs.

#include "director/DirectorFixture.h"

#include <random>
#include <thread>

namespace {

TEST_F(Director, PlayRegistersTheMechanismAndProves) {
  ProofDirector &played = make(driver("d1") + driver("d2"));
  EXPECT_EQ(play(played), "\tProof driver d1, still 1 unproved PO\n\t\tA\n\t\t\t++\n\n"
                          "\tProof driver d2, still 4294967295 unproved PO\n")
      << "the goal that was unknown is not counted when registered, but when proved";
  EXPECT_EQ(savedStatuses(), "Proved/Proved/Proved/Unproved Proved/Proved/Proved/Unproved "
                             "Proved/Unproved/Unproved/Unproved");
  EXPECT_FALSE(played.hasErrors());
  EXPECT_EQ(played.progress().proved, 2U);

  ProofDirector &again = make(driver("d1"));
  EXPECT_FALSE(again.loadPosFile()) << "already registered";
}

TEST_F(Director, DesignatedGoalSelection) {
  const std::pair<const char *, selection_t> rows[] = {
      {"B.1", {{{1, 0}}}},
      {"A.x", {{{0, static_cast<unsigned long>(-1)}}}},
      {"C.1", {}},
      {"a.1", {}}};
  for (const auto &[goal, expected] : rows) {
    ProofDirector &selecting = make(driver("d", "group=\"related\""), "always", goal);
    const selection_t selection = select(selecting);
    EXPECT_EQ(selection, expected) << goal;
    selecting.produceWriterData("d"_s, "c.pog"_s, selection);
    selecting.produceProverData();
    ASSERT_EQ(selecting.getProverData().size(), selection.size());
    for (const prover_data_t &data : selecting.getProverData())
      EXPECT_EQ(data.inpath, "d/c_m_d_0.po2"_s); // 0 is the place in the selection
    for (const writer_data_t &data : selecting.getWriterData())
      EXPECT_TRUE(data.args.at(1) == "0"_s && data.positions.empty());
  }
}

TEST_F(Director, JobLoopsRunEveryEntryOnce) {
  ProofDirector &jobs = make(driver("d"));
  const selection_t selection = select(jobs);
  jobs.produceWriterData(directory.path(), directory.path("c.pog"_s), selection);
  jobs.produceProverData();
  EXPECT_THROW(jobs.writeEntry(2), std::out_of_range);
  EXPECT_THROW(jobs.proveEntry(2), std::out_of_range);
  jobs.writeJob();
  const auto files = [&] { return QDir(directory.path()).entryList({"*.po2"_s}).size(); };
  EXPECT_EQ(files(), 2);
  jobs.proveJob(); // every index is claimed already
  EXPECT_EQ(jobs.progress().finished, 0U);
  testing::internal::CaptureStdout();
  jobs.proveEntry(0);
  jobs.proveEntry(1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\t\tA\n\t\t\t++");
  jobs.removeSecondaryFiles();
  EXPECT_EQ(files(), 0);
}

TEST_F(Director, StopAtAnyMomentLosesNothingAndLeavesNothing) {
  constexpr int GOALS = 300;
  std::string goals = "<Proof_Obligations><Proof_Obligation><Tag>A</Tag>";
  for (int i = 0; i < GOALS; ++i)
    goals += "<Simple_Goal status=\"Unproved\"/>";
  std::mt19937 random(1);
  for (int round = 0; round < 18; ++round) {
    SCOPED_TRACE(round);
    const bool busy = round % 2 == 0; // the provers never end
    const unsigned jobs = round % 3 == 0 ? 1 : 8;
    directory.write("c.pos", goals + "</Proof_Obligation></Proof_Obligations>");
    directory.writeTool("prover", busy ? "#!/bin/sh\nsleep 3017 & wait\n" : "#!/bin/sh\ncat\n");
    ProofDirector &stopped = make(driver("d"), "always", "", jobs);
    bool saved = false;
    std::thread stopper([&, delayMs = random() % 60] {
      while (busy && stopped.progress().started < jobs)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
      saved = stopped.stop();
    });
    play(stopped);
    stopper.join();
    EXPECT_EQ(processesRunning("sleep 3017"), 0);
    EXPECT_EQ(QDir(directory.path()).entryList({"*.po2"_s}).size(), 0);
    EXPECT_FALSE(stopped.hasErrors()) << "killed on purpose";
    int proved = 0;
    for (const auto &[tag, data] : stopped.getPoData())
      for (const po_data_t &goal : data)
        proved += goal.status == pos::PROVED ? 1 : 0;
    const QString saves = QString::fromStdString(savedStatuses());
    EXPECT_EQ(saves.count(QLatin1Char(' ')) + 1, GOALS);
    EXPECT_TRUE(saved || !busy);
    EXPECT_TRUE(proved == 0 || !busy);
    if (saved) {
      EXPECT_EQ(saves.count("Proved/Proved/Proved"_s), proved);
      EXPECT_EQ(saves.count("Unproved/Unproved/Unproved"_s), GOALS - proved);
    }
  }
}

TEST_F(Director, PlaysOnce) {
  for (const bool reloadFails : {true, false}) {
    writePos();
    ProofDirector &again = make(driver("d"));
    if (reloadFails)
      EXPECT_FALSE(again.reloadPosFile());
    else
      play(again);
    const std::string before = directory.read("c.pos");
    EXPECT_EQ(play(again), "");
    EXPECT_EQ(again.errorMessages().size(), 1);
    EXPECT_EQ(directory.read("c.pos"), before);
  }
}

TEST_F(Director, TrustDecidesWhetherAnUnreliableProofIsTriedAgain) {
  directory.write("c.pos", "<r><Proof_Obligation><Tag>A</Tag><Simple_Goal "
                           "status=\"UnreliablyProved\"/></Proof_Obligation></r>");
  for (const auto &[trust, goals] : {std::pair("never", 0U), {"redundancy", 1U}, {"always", 1U}})
    EXPECT_EQ(select(make(driver("d"), trust)).at(0).size(), goals) << trust;
}

} // namespace
