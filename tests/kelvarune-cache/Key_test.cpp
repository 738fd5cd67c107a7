#include "file/Descriptor.h"
#include "kelvarune-cache/Key.h"
#include "support/Fixtures.h"

#include <functional>

namespace {

using cache::keyOf;
using cache::request_t;

class Key : public testing::Test {
protected:
  Key() {
    request.program = directory.writeTool("prover", "#!/bin/sh\n");
    goal = directory.write("goal.po2", "(check-sat)\n");
    request.arguments = {"-t", "5", goal};
  }

  TemporaryDirectory directory;
  request_t request;
  std::string goal;
};

TEST_F(Key, IsStableAndASha256) {
  const auto key = keyOf(request);
  ASSERT_TRUE(key);
  EXPECT_EQ(key->size(), 64);
  EXPECT_EQ(keyOf(request), key);
}

TEST_F(Key, ChangesWithWhateverMayChangeTheAnswer) {
  struct {
    const char *name;
    std::function<void()> change;
  } const rows[] = {
      {"an argument", [&] { request.arguments[1] = "6"; }},
      {"an argument more", [&] { request.arguments.emplace_back(); }},
      {"two arguments run together",
       [&] {
         request.arguments = {"-t5", goal};
       }},
      {"another order",
       [&] {
         request.arguments = {"5", "-t", goal};
       }},
      {"content of a file argument", [&] { directory.write("goal.po2", "(push 1)\n"); }},
      {"the same text in an option", [&] { request.arguments[2] = "--file=" + goal; }},
      {"the prover's content", [&] { directory.writeTool("prover", "#!/bin/sh\nexit\n"); }},
      {"another prover", [&] { request.program = directory.writeTool("prover2", "#!/bin/sh\n"); }},
      {"a version text", [&] { request.versionText = "1.0"; }},
      {"another version text", [&] { request.versionText = "1.1"; }},
      {"a goal file", [&] { request.goalFiles = {goal}; }},
  };
  auto before = keyOf(request);
  for (const auto &row : rows) {
    row.change();
    const auto after = keyOf(request);
    ASSERT_TRUE(after) << row.name;
    EXPECT_NE(after, before) << row.name;
    before = after;
  }
}

TEST_F(Key, TakesTheContentOfAFileNamedInsideAnOption) {
  for (const char *prefix : {"--file=", "-in:"}) {
    request.arguments = {prefix + goal};
    directory.write("goal.po2", "one");
    const auto one = keyOf(request);
    directory.write("goal.po2", "two");
    EXPECT_NE(keyOf(request), one) << prefix;
  }
}

TEST_F(Key, ForgetsTheNameOfAGoalFileButNotWhereItStands) {
  const std::string twin = directory.write("twin.po2", "(check-sat)\n");
  const auto keyWith = [&](const std::string &file, const std::string &prefix) {
    request.goalFiles = {file};
    request.arguments = {"-t", "5", prefix + file};
    return keyOf(request);
  };
  EXPECT_EQ(keyWith(goal, ""), keyWith(twin, ""));
  EXPECT_EQ(keyWith(goal, "--file="), keyWith(twin, "--file="));
  EXPECT_NE(keyWith(goal, "--file="), keyWith(twin, "--proof="));
  EXPECT_NE(keyWith(goal, ""), keyWith(directory.write("other.po2", "(exit)\n"), ""));
}

TEST_F(Key, IsThereOnlyWhenEverythingCanBeRead) {
  request.goalFiles = {directory.bytePath("missing")};
  EXPECT_FALSE(keyOf(request));
  request.goalFiles.clear();
  request.program = directory.bytePath("missing");
  EXPECT_FALSE(keyOf(request));
}

TEST_F(Key, TakesStandardInputFromItsPositionAndLeavesItThere) {
  const file::Descriptor input(::open(goal.c_str(), O_RDONLY));
  request.standardInput = input.get();
  const auto whole = keyOf(request);
  EXPECT_EQ(keyOf(request), whole);
  ::lseek(input.get(), 1, SEEK_SET);
  EXPECT_NE(keyOf(request), whole);
  EXPECT_EQ(::lseek(input.get(), 0, SEEK_CUR), 1);
}

TEST_F(Key, WithAVersionTextIsTheSameOnAnotherMachine) {
  request.arguments = {};
  request.versionText = "4.8";
  const auto here = keyOf(request);
  QDir(directory.path()).mkdir(QStringLiteral("there"));
  request.program = directory.writeTool("there/prover", "#!/bin/sh\n# other\n");
  EXPECT_EQ(keyOf(request), here);
}

} // namespace
