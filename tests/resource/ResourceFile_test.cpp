// Reading and writing one file, and what is said when that fails.

#include "ResourceFixture.h"

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using ResourceFile = ResourceTest;

TEST_F(ResourceFile, NumbersLinesAndActsOnTheFirstNotBelowANumber) {
  load("one||two|lost");
  T_resource_file *file = manager().get_file(RESOURCE_SOURCE_MORVANEL);
  file->delete_line(2);
  EXPECT_EQ(file->load(), file->first_line) << "analysis starts at the first line of all";
  file->set_line(2, "three");
  file->set_line(50, "seven");
  file->delete_line(50);
  file->delete_line(-7);
  EXPECT_EQ(files(), "G:three|one||two|seven|");
  EXPECT_EQ(file->get_line(1)->number, 3);
  EXPECT_EQ(file->last_line->number, 7);
}

TEST_F(ResourceFile, LoadsNothingFromWhatIsNotAFileAndNeverWaits) {
  const std::string missing = directory.bytePath("missing");
  EXPECT_EQ(messagesOf([&] { load_resources(missing.c_str()); }),
            "Unable to open resource file " + missing + " because: No such file or directory\n");
  const std::string fifo = directory.bytePath("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string &path : {fifo, directory.write("empty", ""), std::string("/dev/zero")}) {
    EXPECT_EQ(messagesOf([&] { load_resources(path.c_str()); }), "") << path;
    EXPECT_FALSE(has_unfinished_line(path.c_str())) << path;
  }
  EXPECT_EQ(files(), "G:");
  EXPECT_FALSE(has_unfinished_line(missing.c_str()));
  EXPECT_FALSE(has_unfinished_line(directory.write("whole", "a\n").c_str()));
  EXPECT_TRUE(has_unfinished_line(directory.write("cut", "a\nb").c_str()));
}

TEST_F(ResourceFile, SavesAllLinesAndKeepsTheOldFileAsBackup) {
  const std::string content = "! head\n\nMVL.t.r:1" + std::string("\0cut", 4) +
                              "\nforeign \\\n\xff\xfe\n! tail" + std::string(100000, 'x') + '\n';
  load_resources(nullptr, nullptr, directory.write("named", content + "no newline").c_str());
  EXPECT_EQ(messagesOf(save_resources), "");
  std::string kept = content;
  kept.erase(kept.find('\0'), 4);
  EXPECT_EQ(directory.read("named"), kept);
  EXPECT_EQ(directory.read("named~"), content + "no newline");
  set_resource("t", "r", "2");
  save_resources();
  EXPECT_EQ(directory.read("named~"), kept) << "each save replaces the backup";
  EXPECT_EQ(directory.read("named"), kept.replace(kept.find("MVL"), 9, "MVL*t*r: 2"));
}

TEST_F(ResourceFile, SavesTheUsersFileUnderTheDefaultNameWithoutReadingIt) {
  directory.write(".Morvanel", "MVL*t*r: old\n");
  set_resource("t", "r", "2");
  save_resources();
  EXPECT_EQ(directory.read(".Morvanel"), "MVL*t*r: 2\n");
  EXPECT_EQ(directory.read(".Morvanel~"), "MVL*t*r: old\n");
}

TEST_F(ResourceFile, SaysWhatCannotBeWritten) {
  const std::string reason = " because: No such file or directory\n";
  const std::string path = directory.bytePath("new");
  T_resource_file file(path.c_str(), RESOURCE_SOURCE_USER, nullptr, nullptr, nullptr);
  const auto save = [&file] { file.save(); };
  EXPECT_EQ(messagesOf(save), "Can rename file: " + path + " in " + path + "~" + reason);
  EXPECT_EQ(directory.read("new"), "");

  // Writing more than 1000 bytes fails. What fits the buffer does so only when the file is closed.
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small = {1000, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN); // else the process is killed
  file.set_line(1, std::string(2000, 'x').c_str());
  EXPECT_EQ(messagesOf(save), "Can not close file: " + path + " because: File too large\n");
  file.set_line(1, std::string(200000, 'x').c_str());
  EXPECT_EQ(messagesOf(save), "Can not write in file: " + path + " because: File too large\n");
  std::signal(SIGXFSZ, handler);
  setrlimit(RLIMIT_FSIZE, &limit);

  const std::string nowhere = directory.bytePath("missing/file");
  file.set_name(nowhere.c_str());
  EXPECT_EQ(messagesOf(save), "Can rename file: " + nowhere + " in " + nowhere + "~" + reason +
                                  "Can not open file: " + nowhere + reason);
}

} // namespace
