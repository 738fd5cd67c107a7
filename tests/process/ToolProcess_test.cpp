#include "process/PipeReader.h"
#include "process/ToolProcess.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <gmock/gmock.h>

#include <chrono>
#include <sstream>
#include <thread>

#include <signal.h>

using namespace kelvarune;

namespace {

using namespace std::chrono_literals;
using process::ToolProcess;

QStringList shell(const char *script) {
  return {"-c"_s, QString::fromLatin1(script)};
}

/// What a tool writes, read while it runs.
std::string outputOf(process::start_t how) {
  file::pipe_t pipe = file::makePipe();
  ToolProcess tool;
  how.standardOutput = pipe.writeEnd.get();
  EXPECT_TRUE(tool.start(std::move(how)));
  pipe.writeEnd.reset();
  std::string output;
  process::PipeReader reader(std::move(pipe.readEnd), [&](const char *bytes, std::size_t size) {
    output.append(bytes, size);
  });
  tool.waitForEnd({&reader});
  reader.readRest();
  return output;
}

std::string outputOf(const char *script) {
  return outputOf({"/bin/sh", {"sh", "-c", script}});
}

// A zombie counts as gone: whether anybody reaps an orphan is the system's affair.
bool isGone(const std::string &pid) {
  for (int i = 0; i < 200; ++i) {
    QFile status("/proc/%1/stat"_s.arg(QString::fromStdString(pid)));
    if (!status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z "))
      return true;
    std::this_thread::sleep_for(10ms);
  }
  return false;
}

TEST(ToolProcess, SaysHowToolsEnd) {
  ToolProcess tool;
  for (const char *script : {"exit 7", "kill -KILL $$"}) {
    const bool killed = *script == 'k';
    ASSERT_TRUE(tool.start("/bin/sh", shell(script), -1, -1));
    EXPECT_TRUE(tool.waitForEnd());
    EXPECT_EQ(tool.crashed(), killed);
    EXPECT_EQ(tool.endSignal(), killed ? SIGKILL : 0);
    EXPECT_EQ(tool.exitStatus(), killed ? 0 : 7);
    EXPECT_EQ(tool.session(), 0);
  }
}

TEST(ToolProcess, SaysWhatCannotBeStarted) {
  const TemporaryDirectory directory;
  EXPECT_FALSE(ToolProcess().start("/no/such/program", {}, -1, -1));
  EXPECT_FALSE(ToolProcess().start(directory.write("data", "no program"), {}, -1, -1));
  EXPECT_FALSE(ToolProcess().start(directory.path().toStdString(), {}, -1, -1));
  EXPECT_TRUE(ToolProcess().start(directory.writeTool("script", "exit 3"), {}, -1, -1))
      << "without #!, run by the shell";
}

TEST(ToolProcess, GivesToolsAPlaceOfTheirOwnOrTheCallers) {
  sigset_t mask;
  sigset_t previous;
  sigfillset(&mask);
  pthread_sigmask(SIG_SETMASK, &mask, &previous);
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN); // as the programs do
  const std::string own = outputOf("ls /proc/$$/fd; grep -E 'SigBlk|SigIgn' /proc/self/status");
  const std::string callers = outputOf({"grep",
                                        {"grep", "-hE", "NSsid|SigBlk|SigIgn", "/proc/self/status"},
                                        -1,
                                        -1,
                                        -1,
                                        process::place_t::CALLERS_SESSION});
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::signal(SIGXFSZ, SIG_DFL);
  // The caller of the tests may ignore other signals than SIGPIPE, whose digit is the fourth last,
  // and SIGXFSZ, whose digit is the seventh last.
  EXPECT_THAT(own, testing::MatchesRegex("0\n1\n2\nSigBlk:\t0+\nSigIgn:\t[0-9a-f]*0..0...\n"));
  EXPECT_THAT(callers,
              testing::MatchesRegex("NSsid:\t" + std::to_string(::getsid(0)) +
                                    "\nSigBlk:\tf+e7ffbfeff\nSigIgn:\t[0-9a-f]*0..1...\n"));
}

TEST(ToolProcess, PassesMoreThanAPipeHoldsAndDoesNotWaitForDescendants) {
  EXPECT_EQ(outputOf("head -c 3000000 /dev/zero").size(), 3000000U);
  const std::string pid = outputOf("sleep 60 & echo $!");
  EXPECT_EQ(::kill(std::stoi(pid), SIGKILL), 0) << "it has not ended before the wait has";
}

TEST(ToolProcess, EndOfSessionReachesDescendantsInOtherGroups) {
  file::pipe_t pipe = file::makePipe();
  ToolProcess tool;
  ASSERT_TRUE(
      tool.start("/bin/sh", shell("timeout 60 sleep 60 & echo $!; wait"), -1, pipe.writeEnd.get()));
  char text[32] = {};
  ASSERT_GT(::read(pipe.readEnd.get(), text, sizeof text - 1), 0);
  process::sessions::end({{tool.session()}});
  EXPECT_TRUE(tool.waitForEnd());
  EXPECT_TRUE(tool.crashed());
  EXPECT_TRUE(isGone(QByteArray(text).trimmed().toStdString()));
}

TEST(ToolProcess, WhatAnEndedToolLeftIsRemembered) {
  std::istringstream pids(outputOf("timeout 60 sleep 60 & echo $!; sleep 60 & echo $!"));
  process::sessions::end(process::sessions::all());
  for (std::string pid; pids >> pid;)
    EXPECT_TRUE(isGone(pid));
}

TEST(ToolProcess, EndsWithItsOwner) {
  pid_t pid = 0;
  {
    ToolProcess tool;
    ASSERT_TRUE(tool.start("/bin/sleep", {"60"_s}, -1, -1));
    pid = tool.session();
    EXPECT_FALSE(tool.waitForEnd({}, 10)) << "still running";
  }
  EXPECT_NE(::kill(pid, 0), 0) << "killed and reaped";
}

} // namespace
