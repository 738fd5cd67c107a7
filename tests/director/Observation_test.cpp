// What an observer is told, and what a play does when its owner chooses something beyond the rules.

#include "director/DirectorFixture.h"

#include <algorithm>
#include <mutex>

namespace {

using end_t = tool_record_t::end_t;
using process::Excerpt;

class Observation : public Director {
protected:
  std::vector<entry_record_t> observed(ProofDirector &which, watch_t watch = watch_t::TOOLS) {
    std::vector<entry_record_t> records;
    std::mutex mutex;
    which.setObserver(
        [&](const entry_record_t &record) {
          const std::lock_guard lock(mutex);
          records.push_back(record);
        },
        watch);
    testing::internal::CaptureStderr();
    output = play(which);
    testing::internal::GetCapturedStderr();
    return records;
  }

  std::string output;
};

std::string textOf(const tool_record_t &tool) {
  const char *const names[] = {"not run", "not started", "exited", "signalled", "abandoned"};
  return names[static_cast<int>(tool.end)] + (' ' + std::to_string(tool.number)) +
         std::string(tool.standardError.end());
}

TEST_F(Observation, SaysHowEachToolEndedAndWhatCounts) {
  struct {
    const char *tool, *script, *writer, *prover, *reader, *verdict;
    loss_t loss;
  } const table[] = {
      {"reader", "#!/bin/sh\ncat; echo Unknown\n", "exited 0", "exited 0", "exited 0", nullptr,
       loss_t::RESULT_COUNT},
      {"reader", "#!/bin/sh\ncat > /dev/null; echo Proven; exit 3\n", "exited 0", "exited 0",
       "exited 3", "", loss_t::NONE},
      {"reader", "#!/bin/sh\ncat > /dev/null; kill -9 $$\n", "exited 0", "exited 0", "signalled 9",
       nullptr, loss_t::CRASH},
      {"reader", "#!/none\n", "exited 0", "exited 0", "not started 2", "", loss_t::NONE},
      {"prover", "#!/bin/sh\necho why >&2; exit 1\n", "exited 0", "exited 1why\n", "exited 0",
       "Proved", loss_t::NONE},
      {"prover", "#!/bin/sh\nkill -11 $$\n", "exited 0", "signalled 11", "abandoned 0", nullptr,
       loss_t::CRASH},
      {"writer", "#!/bin/sh\necho no >&2; exit 2\n", "exited 2no\n", "not run 0", "exited 0",
       "Proved", loss_t::NONE},
      {"writer", "#!/none\n", "not started 2", "not run 0", "exited 0", "Proved", loss_t::NONE},
  };
  for (const auto &row : table) {
    SCOPED_TRACE(row.tool + std::string(row.script));
    SetUpFiles();
    directory.writeTool(row.tool, row.script);
    const std::vector<entry_record_t> records = observed(make(driver("d")));
    ASSERT_EQ(records.size(), 2U);
    const entry_record_t &record = records[1];
    EXPECT_EQ(textOf(record.writer), row.writer);
    EXPECT_EQ(textOf(record.prover), row.prover);
    EXPECT_EQ(textOf(record.reader), row.reader);
    EXPECT_EQ(record.loss, row.loss);
    EXPECT_EQ(record.verdicts,
              row.verdict ? QStringList{QString::fromLatin1(row.verdict)} : QStringList());
    EXPECT_EQ(record.secondaryFileWritten, std::string(row.tool) != "writer");
    EXPECT_EQ(record.goals.at(0).tag + QString::number(record.goals.at(0).number), "A2"_s);
    EXPECT_EQ(record.addresses.at(0), address_t(0, 1));
  }
}

TEST_F(Observation, MeasuresAndPassesTheProversOutputOn) {
  directory.writeTool("prover", "#!/bin/sh\ni=0; while [ $i -lt 20000 ]; do i=$((i+1)); done\n"
                                "echo first; head -c 300000 /dev/zero; sleep 0.05; echo last\n");
  directory.writeTool("reader", "#!/bin/sh\n[ $(wc -c) = 300011 ] && echo Proved\n");
  const auto records = observed(make(driver("d"), "always", "", 4), watch_t::PROVER_OUTPUT);
  ASSERT_EQ(records.size(), 2U);
  for (const entry_record_t &record : records) {
    EXPECT_EQ(record.verdicts, QStringList{"Proved"_s});
    EXPECT_EQ(record.proverOutput.length(), 300011U);
    EXPECT_EQ(record.proverOutput.omitted(), 300011U - 2 * 4096);
    EXPECT_EQ(record.proverOutput.beginning().substr(0, 6), "first\n");
    EXPECT_EQ(record.proverOutput.end().substr(4091), "last\n");
    EXPECT_GE(record.prover.wall.count(), 50000);
    EXPECT_GT((record.prover.user + record.prover.system).count(), 0);
    EXPECT_GT(record.prover.peakMemory, 100000U);
  }
}

// A reader that stops reading ends its prover, as without anybody between them; and a process that
// the prover leaves behind with its output open holds nobody up.
TEST_F(Observation, TheToolsAreJoinedAsByOnePipe) {
  directory.writeTool("prover", "#!/bin/sh\n[ -s $0.held ] && exec yes\necho > $0.held\n"
                                "(trap '' PIPE; sleep 3018) &\necho out\n");
  directory.writeTool("reader", "#!/bin/sh\nread line; echo Proved\n");
  const auto records = observed(make(driver("d")), watch_t::PROVER_OUTPUT);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].verdicts, QStringList{"Proved"_s});
  EXPECT_EQ(textOf(records[1].prover), "signalled 13");
}

TEST_F(Observation, GoalsOfAChoiceArePlayedAloneAndOnlyRecordedOnDemand) {
  for (const bool record : {false, true}) {
    SetUpFiles();
    const std::string before = directory.read("c.pos");
    directory.write("verdicts", record ? "Proved\n" : "Proved\nx = 1\n");
    ProofDirector &chosen = make(driver("d", "group=\"full\""));
    play_choice_t choice;
    choice.goals = {{"B"_s, 1}, {"A"_s, 2}, {"A"_s, 7}, {"C"_s, 1}};
    choice.record = record;
    choice.addDrivers = choice.retry = choice.keepSecondaryFiles = true;
    chosen.choose(choice);
    const auto records = observed(chosen);
    // The goal of B is proved already, so there is nothing to record.
    EXPECT_EQ(records.size(), record ? 1U : 2U);
    EXPECT_TRUE(QFile::exists(records.at(0).secondaryFile)) << "kept";
    EXPECT_EQ(output.find("x = 1") != std::string::npos, !record);
    EXPECT_EQ(chosen.getWriterData().at(0).args.contains("-m"_s), !record);
    if (record)
      EXPECT_EQ(savedStatuses(), "Unproved/Unproved/Unproved Proved/Proved/Proved "
                                 "Proved/Unproved/Unproved");
    else
      EXPECT_EQ(directory.read("c.pos"), before);
    EXPECT_TRUE(chosen.stop()) << "nothing is left to save";
  }
}

TEST_F(Observation, NewAndGivenUpDriversPlayWhatIsOpen) {
  struct {
    const char *goal, *mechanism, *a, *b; // stored statuses, of driver b when it was registered
    const char *trust;
    bool retry;
    const char *verdict, *after;
  } const table[] = {
      // A driver that the description has and the file lacks.
      {"Unproved", "Unknown", "Unknown", nullptr, "always", false, "Proved",
       "Proved/Proved/Unknown/Proved"},
      {"Unproved", "Unknown", "Unknown", nullptr, "always", false, "Unknown",
       "Unproved/Unknown/Unknown/Unknown"},
      {"UnreliablyProved", "UnreliablyProved", "Proved", nullptr, "redundancy", false, "Proved",
       "Proved/Proved/Proved/Proved"},
      {"UnreliablyProved", "UnreliablyProved", "Proved", nullptr, "redundancy", false, "Unknown",
       "UnreliablyProved/UnreliablyProved/Proved/Unknown"},
      {"Proved", "Proved", "Proved", nullptr, "always", false, "Disproved",
       "Proved/Proved/Proved/Unproved"},
      {"Unknown", "Unknown", "Unknown", nullptr, "always", false, "Disproved",
       "Disproved/Disproved/Unknown/Disproved"},
      // Those that have given up, again.
      {"Unproved", "Unknown", "Unknown", "Unknown", "always", false, "Proved",
       "Unproved/Unknown/Unknown/Unknown"},
      {"Unproved", "Unknown", "Unknown", "Unknown", "always", true, "Proved",
       "Proved/Proved/Proved/Unknown"},
      {"UnreliablyProved", "UnreliablyProved", "Proved", "Unknown", "redundancy", true, "Unknown",
       "UnreliablyProved/UnreliablyProved/Proved/Unknown"},
      {"Disproved", "Disproved", "Unknown", "Disproved", "always", true, "Proved",
       "Disproved/Disproved/Unknown/Disproved"},
  };
  for (const auto &row : table) {
    SCOPED_TRACE(row.after);
    const auto driverElement = [](const char *name, const char *status) {
      return status ? "<Driver name=\"" + (name + std::string("\" status=\"") + status + "\"/>")
                    : "";
    };
    directory.write(
        "c.pos", "<Proof_Obligations><Proof_Obligation><Tag>A</Tag>"
                 "<Simple_Goal status=\"" +
                     std::string(row.goal) + "\"><Mechanism name=\"m\" status=\"" + row.mechanism +
                     "\">" + driverElement("a", row.a) + driverElement("b", row.b) +
                     "</Mechanism></Simple_Goal></Proof_Obligation></Proof_Obligations>");
    directory.write("verdicts", row.verdict + std::string("\n"));
    ProofDirector &played = make(driver("a") + driver("b"), row.trust);
    play_choice_t choice;
    choice.addDrivers = true;
    choice.retry = row.retry;
    played.choose(choice);
    play(played);
    EXPECT_EQ(savedStatuses(), row.after);
  }
}

TEST_F(Observation, ShardsShareTheGoals) {
  directory.write("c.pos", "<r><Proof_Obligation><Tag>A</Tag><Simple_Goal/><Simple_Goal/>"
                           "</Proof_Obligation><Proof_Obligation><Tag>B</Tag><Simple_Goal/>"
                           "<Simple_Goal/><Simple_Goal/></Proof_Obligation></r>");
  std::vector<address_t> played;
  for (unsigned shard = 0; shard < 3; ++shard) {
    ProofDirector &part = make(driver("d"));
    play_choice_t choice;
    choice.record = false;
    choice.shard = shard;
    choice.shards = 3;
    part.choose(choice);
    for (const entry_record_t &record : observed(part))
      played.push_back(record.addresses.at(0));
  }
  EXPECT_EQ(played, (std::vector<address_t>{{0, 0}, {1, 1}, {0, 1}, {1, 2}, {1, 0}}));
}

TEST(ExcerptOfOutput, KeepsBothEnds) {
  Excerpt excerpt(3, 4);
  for (const char *piece : {"a", "bcde", "", "fghijklmnopq", "rs"})
    excerpt.append(piece, std::char_traits<char>::length(piece));
  EXPECT_EQ(excerpt.beginning(), "abc");
  EXPECT_EQ(excerpt.end(), "pqrs");
  EXPECT_EQ(excerpt.omitted(), 12U);
}

} // namespace
