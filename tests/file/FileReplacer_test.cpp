#include "file/FileReplacer.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <set>

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

struct stat statusOf(const std::string &path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

QStringList entriesOf(const TemporaryDirectory &directory) {
  return QDir(directory.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

const QVector<QByteArray> PIECES = {"new ", "", "content"};

TEST(FileReplacer, KeepsEverythingButTheContent) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.pos", "an old content that is longer");
  ::chmod(path.c_str(), 0640);
  if (::geteuid() == 0) {
    EXPECT_EQ(::chown(path.c_str(), 12, 34), 0);
  }
  const bool hasAttributes = ::setxattr(path.c_str(), "user.note", "x", 1, 0) == 0;
  const struct stat before = statusOf(path);

  QVector<QByteArray> pieces; // more than one call writes
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    pieces.append(QByteArray::number(i) + QByteArray(i % 7, ' '));
    expected += pieces.last().toStdString();
  }
  EXPECT_EQ(file::FileReplacer(path).replace(pieces).outcome, file::outcome_t::DONE);
  const struct stat after = statusOf(path);
  EXPECT_EQ(directory.read("a.pos"), expected);
  EXPECT_NE(after.st_ino, before.st_ino) << "replaced, not rewritten";
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  char value = 0;
  if (hasAttributes) {
    EXPECT_EQ(::getxattr(path.c_str(), "user.note", &value, 1), 1);
  }
  EXPECT_EQ(entriesOf(directory), QStringList{"a.pos"_s});
}

std::string contentOf(int fd) {
  std::string content(1 << 16, 0);
  const ssize_t size = ::pread(fd, content.data(), content.size(), 0);
  content.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return content;
}

TEST(FileReplacer, FilesTakeTurnsUnlessSomebodyElseComesIn) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.pos", "0");
  QVector<QByteArray> pieces = {"head ", "middle ", "tail"};
  std::set<ino_t> inodes;
  std::vector<int> readers;
  {
    file::FileReplacer replacer(path);
    for (int i = 0; i < 40; ++i) {
      pieces[i % 3] = QByteArray(i % 5, 'a' + i % 26) + ' ';
      if (i == 10)
        directory.write("a.pos", "somebody else's longer content");
      if (i == 20)
        ::chmod(path.c_str(), 0600);
      if (i > 15 && i % 2) // who opened a file keeps what it was
        readers.push_back(::open(path.c_str(), O_RDONLY));
      const std::string before = readers.empty() ? "" : contentOf(readers.back());
      ASSERT_EQ(replacer.replace(pieces).outcome, file::outcome_t::DONE);
      ASSERT_EQ(directory.read("a.pos"), (pieces[0] + pieces[1] + pieces[2]).toStdString()) << i;
      ASSERT_EQ(readers.empty() ? "" : contentOf(readers.back()), before) << i;
      if (i < 10)
        inodes.insert(statusOf(path).st_ino);
    }
  }
  EXPECT_EQ(inodes.size(), 2U) << "two files take turns";
  EXPECT_EQ(entriesOf(directory), QStringList{"a.pos"_s}) << "the spare is gone";
  EXPECT_EQ(statusOf(path).st_mode & 0777, 0600U);
  for (const int reader : readers)
    ::close(reader);
}

TEST(FileReplacer, FollowsLinksAndKeepsThem) {
  const TemporaryDirectory directory;
  QDir(directory.path()).mkdir("real"_s);
  const std::string target = directory.write("real/a.pos", "old");
  const std::string other = directory.bytePath("hard");
  const std::string link = directory.bytePath("link.pos");
  ASSERT_EQ(::symlink("real/a.pos", link.c_str()), 0);
  EXPECT_EQ(file::FileReplacer(link).replace(PIECES).outcome, file::outcome_t::DONE);
  EXPECT_TRUE(S_ISLNK(statusOf(link).st_mode));
  EXPECT_EQ(directory.read("real/a.pos"), "new content");

  ASSERT_EQ(::link(target.c_str(), other.c_str()), 0);
  EXPECT_EQ(file::FileReplacer(link).replace({"both"}).outcome, file::outcome_t::DONE);
  EXPECT_EQ(directory.read("hard"), "both") << "a second hard link is not cut off";
  EXPECT_EQ(directory.read("real/a.pos"), "both");
}

TEST(FileReplacer, CreatesNothing) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("nowhere", directory.bytePath("dangling").c_str()), 0);
  QDir(directory.path()).mkdir("folder"_s);
  const QStringList before = entriesOf(directory);
  for (const char *name : {"missing", "missing/too", "fifo", "dangling", "folder"})
    EXPECT_EQ(file::FileReplacer(directory.bytePath(name)).replace(PIECES).outcome,
              file::outcome_t::NOT_WRITABLE)
        << name;
  EXPECT_EQ(entriesOf(directory), before);
}

TEST(FileReplacer, RemovesLeftoversOfKilledRunsOnly) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.pos", "old");
  directory.write(".a.pos.123-1.kelvarune-new", "left by a killed run");
  const std::string busy = directory.write(".a.pos.124-1.kelvarune-new", "of a running program");
  directory.write(".b.pos.123-1.kelvarune-new", "of another file");
  const int fd = ::open(busy.c_str(), O_RDONLY);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  EXPECT_EQ(file::FileReplacer(path).replace(PIECES).outcome, file::outcome_t::DONE);
  ::close(fd);
  EXPECT_EQ(entriesOf(directory), (QStringList{".a.pos.124-1.kelvarune-new"_s,
                                               ".b.pos.123-1.kelvarune-new"_s, "a.pos"_s}));
}

TEST(FileReplacer, KeepsABackup) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.pos", std::string(3 << 20, 'x'));
  directory.write("a.pos~", "an older backup");
  EXPECT_EQ(file::FileReplacer(path).keepBackup().outcome, file::outcome_t::DONE);
  EXPECT_EQ(directory.read("a.pos~"), std::string(3 << 20, 'x'));
  EXPECT_EQ(file::FileReplacer(directory.bytePath("missing")).keepBackup().outcome,
            file::outcome_t::NOT_WRITABLE);
}

} // namespace
