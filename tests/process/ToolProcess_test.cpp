#include "process/PipeReader.h"
#include "process/ToolProcess.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <chrono>
#include <set>
#include <thread>

#include <signal.h>

using namespace kelvarune;

namespace {

using namespace std::chrono_literals;
using process::ToolProcess;

QStringList shell(const char *script) {
  return {"-c"_s, QString::fromLatin1(script)};
}

/// What a shell script writes, read while it runs.
std::string outputOf(const char *script) {
  file::pipe_t pipe = file::makePipe();
  ToolProcess tool;
  EXPECT_TRUE(tool.start("/bin/sh", shell(script), -1, pipe.writeEnd.get()));
  pipe.writeEnd.reset();
  std::string output;
  process::PipeReader reader(std::move(pipe.readEnd), [&](const char *bytes, std::size_t size) {
    output.append(bytes, size);
  });
  tool.waitForEnd(&reader);
  reader.readRest();
  return output;
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

TEST(ToolProcess, TellsHowToolsEnd) {
  for (const char *script : {"exit 7", "kill -KILL $$"}) {
    ToolProcess tool;
    ASSERT_TRUE(tool.start("/bin/sh", shell(script), -1, -1));
    EXPECT_TRUE(tool.waitForEnd());
    EXPECT_EQ(tool.crashed(), *script == 'k') << script;
    EXPECT_EQ(tool.session(), 0);
  }
}

TEST(ToolProcess, TellsWhatCannotBeStarted) {
  const TemporaryDirectory directory;
  const std::string data = directory.write("data", "no program");
  const std::string script = directory.writeTool("script", "exit 3"); // no "#!": run by the shell
  QStringList tooLong;
  for (int i = 0; i < 100; ++i)
    tooLong << QString(100000, QLatin1Char('x'));
  EXPECT_FALSE(ToolProcess().start("/no/such/program", {}, -1, -1));
  EXPECT_FALSE(ToolProcess().start(data, {}, -1, -1));
  EXPECT_FALSE(ToolProcess().start(directory.path().toStdString(), {}, -1, -1));
  EXPECT_FALSE(ToolProcess().start("/bin/true", tooLong, -1, -1));
  EXPECT_TRUE(ToolProcess().start(script, {}, -1, -1));
}

TEST(ToolProcess, GivesToolsACleanPlace) {
  const int extra = ::open("/dev/null", O_RDONLY); // without close-on-exec
  sigset_t mask;
  sigfillset(&mask);
  sigset_t previous;
  pthread_sigmask(SIG_SETMASK, &mask, &previous);
  ::signal(SIGPIPE, SIG_IGN);
  const std::string output = outputOf("ls /proc/$$/fd; grep -E 'SigBlk|SigIgn' /proc/self/status");
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::close(extra);
  EXPECT_EQ(output, "0\n1\n2\nSigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(ToolProcess, PassesMoreThanAPipeHolds) {
  EXPECT_EQ(outputOf("head -c 3000000 /dev/zero").size(), 3000000U);
}

TEST(ToolProcess, DoesNotWaitForDescendants) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(outputOf("sleep 30 & echo $!").find_first_not_of("0123456789\n"), std::string::npos);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
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
  const std::string pids = outputOf("timeout 60 sleep 60 & echo $!; sleep 60 & echo $!");
  const std::string first = pids.substr(0, pids.find('\n'));
  const std::string second = pids.substr(first.size() + 1, pids.size() - first.size() - 2);
  process::sessions::end(process::sessions::all());
  EXPECT_TRUE(isGone(first));
  EXPECT_TRUE(isGone(second));
}

TEST(ToolProcess, EndsWithItsOwner) {
  pid_t pid = 0;
  {
    ToolProcess tool;
    ASSERT_TRUE(tool.start("/bin/sleep", {"60"_s}, -1, -1));
    pid = tool.session();
    EXPECT_FALSE(tool.waitForEnd(nullptr, 10)) << "still running";
  }
  EXPECT_NE(::kill(pid, 0), 0) << "killed and reaped";
}

} // namespace
