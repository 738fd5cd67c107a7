// Reading and writing one file, and what is said when that fails.

#include "ResourceFixture.h"
#include "text/Literals.h"

#include <csignal>
#include <cstring>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace kelvarune;

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class ResourceFile : public ResourceTest {
protected:
  T_resource_file &fileOf(const std::string &path) {
    return *manager().set_file(path.c_str(), RESOURCE_SOURCE_USER);
  }

  std::string loadMessages(const std::string &path) {
    CaptureStderr();
    fileOf(path).load();
    return GetCapturedStderr();
  }

  static std::string saveMessages(const T_resource_file &file) {
    CaptureStderr();
    file.save();
    return GetCapturedStderr();
  }
};

TEST_F(ResourceFile, NumbersLinesOnAndDropsAnUnfinishedLastOne) {
  T_resource_file &file = fileOf(directory.write("user", "one\n\ntwo\nlost"));
  T_resource_line *first = file.load();
  ASSERT_EQ(first, file.first_line);
  EXPECT_EQ(first->number, 1);
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "one\n\ntwo\n");

  file.delete_line(2);
  EXPECT_EQ(file.load(), first) << "analysis starts at the first line of all";
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "one\ntwo\none\n\ntwo\n");
  EXPECT_EQ(file.last_line->number, 6);
}

TEST_F(ResourceFile, ActsOnTheFirstLineNotBelowTheNumber) {
  T_resource_file &file = fileOf("user");
  for (const char *text : {"1", "2", "3", "4"})
    file.set_line(100, text);
  file.delete_line(2);
  file.set_line(2, "three");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "1\nthree\n4\n");
  EXPECT_EQ(file.get_line(2)->number, 3);
  EXPECT_EQ(file.get_line(-7), file.first_line);
  EXPECT_EQ(file.get_line(5), nullptr);
  file.delete_line(5);
  file.set_line(50, "5");
  EXPECT_EQ(file.last_line->number, 5);
  file.delete_line(0);
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "three\n4\n5\n");
}

TEST_F(ResourceFile, LoadsNothingFromWhatIsNotAFileAndNeverWaits) {
  const std::string missing = directory.bytePath("missing");
  EXPECT_EQ(loadMessages(missing),
            "Unable to open resource file " + missing + " because: No such file or directory\n");
  const std::string fifo = directory.bytePath("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string empty = directory.write("empty", "");
  for (const std::string &path : {fifo, empty, std::string("/dev/zero"), directory.bytePath("")}) {
    EXPECT_EQ(loadMessages(path), "") << path;
    EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "") << path;
  }
}

TEST_F(ResourceFile, EndsALineAtItsFirstNulButNotAtAnyLength) {
  const std::string zero(1, '\0');
  const std::string big(1000000, 'x');
  load(RESOURCE_SOURCE_USER, "user",
       "MVL*t*cut: ab" + zero + "cd\n" + zero + "\nMVL*t*" + big + ": " + big + "\n");
  EXPECT_EQ(lookup("t", big.c_str()), big);
  EXPECT_EQ(textOf(RESOURCE_SOURCE_USER), "MVL*t*cut: ab\n\nMVL*t*" + big + ": " + big + "\n");
}

TEST_F(ResourceFile, SavesAllLinesAndKeepsTheOldFileAsBackup) {
  load(RESOURCE_SOURCE_USER, "user", "u\n");
  const std::string content = "! head\n\nMVL.t.r:1\nforeign \\\n\xff\xfe\n! tail\n";
  load(RESOURCE_SOURCE_EXPLICIT, "explicit", content + "no newline");
  CaptureStderr();
  save_resources();
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(directory.read("explicit"), content);
  EXPECT_EQ(directory.read("explicit~"), content + "no newline");

  set_resource("t", "r", "2");
  save_resources();
  EXPECT_EQ(directory.read("explicit"), "! head\n\nMVL*t*r: 2\nforeign \\\n\xff\xfe\n! tail\n");
  EXPECT_EQ(directory.read("explicit~"), content) << "each save replaces the backup";
  EXPECT_FALSE(QFile::exists(directory.path("user~"_s))) << "only one file is saved";
}

TEST_F(ResourceFile, SaysWhatCannotBeRenamedOrOpened) {
  const std::string reason = " because: No such file or directory\n";
  const std::string path = directory.bytePath("new");
  T_resource_file &file = fileOf(path);
  file.set_line(1, "line");
  EXPECT_EQ(saveMessages(file), "Can rename file: " + path + " in " + path + "~" + reason);
  EXPECT_EQ(directory.read("new"), "line\n");

  const std::string nowhere = directory.bytePath("missing/file");
  file.set_name(nowhere.c_str());
  EXPECT_EQ(saveMessages(file), "Can rename file: " + nowhere + " in " + nowhere + "~" + reason +
                                    "Can not open file: " + nowhere + reason);
}

TEST_F(ResourceFile, SaysWhyItCannotBeWritten) {
  // What fits the output buffer fails only when the file is closed.
  struct {
    const char *name;
    int lines;
    const char *message;
  } const rows[] = {{"small", 20, "Can not close file: "},
                    {"big", 2000, "Can not write in file: "}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const std::string path = directory.write(row.name, "before\n");
    T_resource_file &file = fileOf(path);
    for (int i = 0; i < row.lines; ++i)
      file.set_line(i + 1, std::string(99, 'x').c_str());
    // Writing more fails instead of killing the process.
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {1000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const std::string messages = saveMessages(file);
    std::signal(SIGXFSZ, handler);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(messages, row.message + path + " because: File too large\n");
    EXPECT_EQ(directory.read(std::string(row.name) + "~"), "before\n");
  }
}

} // namespace
