#include "file/FileReplacer.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <QProcess>

#include <map>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;
using file::FileReplacer;
using file::foreign_t;
using file::outcome_t;

namespace {

struct stat statusOf(const std::string &path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

QStringList entriesOf(const TemporaryDirectory &directory) {
  return QDir(directory.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

// What a command prints in the directory; "refused" when it fails.
QByteArray shell(const TemporaryDirectory &directory, const QString &command) {
  QProcess process;
  process.setWorkingDirectory(directory.path());
  process.start("sh"_s, {"-c"_s, command});
  return process.waitForFinished() && process.exitCode() == 0 ? process.readAll() : "refused";
}

const QString IDENTITY = "stat -c '%a %u:%g'%1; getfacl -cn%1; getfattr -d --only-values%1; :"_s;

const QVector<QByteArray> PIECES = {"new ", "", "content"};

// What is done to a file in its directory, by the name of the case. Where that cannot be done (it
// takes root, or a file system that has such things) the case is left out.
const std::map<const char *, QString> IDENTITIES = {
    {"mode", "chmod 640 a.pos"_s},
    {"set-id bit", "chmod 2775 a.pos"_s},
    {"owner", "chown 12:34 a.pos"_s},
    {"attribute", "setfattr -n user.note -v x a.pos"_s},
    {"access list", "setfacl -m u:12:r a.pos"_s},
    {"list of the directory", "setfacl -d -m u:12:r ."_s},
    {"group of the directory", "chmod 640 a.pos && chgrp 34 . && chmod 2770 ."_s},
};

TEST(FileReplacer, KeepsEverythingButTheContent) {
  const QVector<QByteArray> pieces(5000, "1234567"); // more than one call writes
  for (const auto &[name, command] : IDENTITIES) {
    SCOPED_TRACE(name);
    const TemporaryDirectory directory;
    const std::string path = directory.write("a.pos", "an old content");
    if (shell(directory, command) == "refused")
      continue;
    const QByteArray identity = shell(directory, IDENTITY.arg(" a.pos"_s));
    const ino_t inode = statusOf(path).st_ino;
    FileReplacer replacer(path);
    EXPECT_EQ(replacer.keepBackup().outcome, outcome_t::DONE);
    EXPECT_EQ(directory.read("a.pos~"), "an old content");
    EXPECT_EQ(shell(directory, IDENTITY.arg(" a.pos~"_s)), identity);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(replacer.replace(pieces).outcome, outcome_t::DONE);
      EXPECT_EQ(shell(directory, IDENTITY.arg(" a.pos"_s)), identity) << "replacement " << i;
      EXPECT_EQ(statusOf(path).st_ino == inode, i == 1) << "replaced, not rewritten";
    }
    EXPECT_EQ(directory.read("a.pos"), QByteArray("1234567").repeated(5000).toStdString());
  }
}

std::string contentOf(const QFile *file) {
  char bytes[100];
  const ssize_t size = file ? ::pread(file->handle(), bytes, sizeof bytes, 0) : 0;
  return {bytes, bytes + std::max<ssize_t>(size, 0)};
}

TEST(FileReplacer, FilesTakeTurnsUnlessSomebodyElseComesIn) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("a.pos", "0");
  const std::string foreign = "somebody else's longer content";
  QVector<QByteArray> pieces = {"head ", "middle ", "tail"};
  std::set<ino_t> inodes;
  std::unique_ptr<QFile> reader;
  FileReplacer replacer(path);
  for (int i = 0; i < 40; ++i) {
    pieces[i % 3] = QByteArray(i % 5, 'a' + i % 26) + ' ';
    if (i == 10 || i == 30)
      directory.write("a.pos", foreign + std::to_string(i));
    if (i == 20)
      ::chmod(path.c_str(), 0600);
    if (i > 15 && i % 3 == 0) { // who opened a file keeps what it was
      reader = std::make_unique<QFile>(directory.path("a.pos"_s));
      ASSERT_TRUE(reader->open(QIODevice::ReadOnly));
    }
    const std::string before = contentOf(reader.get());
    const file::result_t result = replacer.replace(pieces);
    ASSERT_EQ(result.outcome, outcome_t::DONE);
    ASSERT_EQ(result.foreign, i == 10 ? foreign_t::KEPT : foreign_t::NONE) << i;
    ASSERT_EQ(directory.read("a.pos"), (pieces[0] + pieces[1] + pieces[2]).toStdString()) << i;
    ASSERT_EQ(contentOf(reader.get()), before) << i;
    if (i < 10)
      inodes.insert(statusOf(path).st_ino);
  }
  EXPECT_EQ(inodes.size(), 2U) << "two files take turns";
  EXPECT_EQ(directory.read("a.pos~"), foreign + "10") << "what came in is kept once";
  EXPECT_EQ(statusOf(path).st_mode & 0777, 0600U);
  const std::string other = directory.write("b.pos", "somebody else gives it the spare's name");
  ::rename(other.c_str(), directory.bytePath(entriesOf(directory).first().toStdString()).c_str());
  replacer.removeSpare();
  EXPECT_EQ(entriesOf(directory), (QStringList{"a.pos"_s, "a.pos~"_s})) << "the spare is gone";
}

TEST(FileReplacer, FollowsLinksAndKeepsThem) {
  const TemporaryDirectory directory;
  QDir(directory.path()).mkdir("real"_s);
  const std::string name(250, 'n'); // leaves no room for the rest of a temporary name
  const std::string target = directory.write("real/" + name, "old");
  const std::string other = directory.bytePath("hard");
  const std::string link = directory.bytePath("link.pos");
  ASSERT_EQ(::symlink(("real/" + name).c_str(), directory.bytePath("second").c_str()), 0);
  ASSERT_EQ(::symlink("second", link.c_str()), 0);
  directory.write(".link.pos.123-1.kelvarune-new", "left beside the link by a killed run");
  EXPECT_EQ(FileReplacer(link).replace(PIECES).outcome, outcome_t::DONE);
  EXPECT_EQ(entriesOf(directory), (QStringList{"link.pos"_s, "real"_s, "second"_s}));
  EXPECT_TRUE(S_ISLNK(statusOf(link).st_mode));
  EXPECT_EQ(directory.read("real/" + name), "new content");

  ASSERT_EQ(::link(target.c_str(), other.c_str()), 0);
  EXPECT_EQ(FileReplacer(link).replace({"both"}).outcome, outcome_t::DONE);
  EXPECT_EQ(directory.read("hard"), "both") << "a second hard link is not cut off";
  EXPECT_EQ(directory.read("real/" + name), "both");
}

TEST(FileReplacer, CreatesNothing) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("nowhere", directory.bytePath("dangling").c_str()), 0);
  QDir(directory.path()).mkdir("folder"_s);
  const QStringList before = entriesOf(directory);
  for (const char *name : {"missing", "missing/too", "fifo", "dangling", "folder"})
    EXPECT_EQ(FileReplacer(directory.bytePath(name)).replace(PIECES).outcome,
              outcome_t::NOT_WRITABLE)
        << name;
  FileReplacer replacer(directory.write("a.pos", "deleted by somebody else"));
  replacer.begin();
  QFile::remove(directory.path("a.pos"_s));
  EXPECT_EQ(replacer.replace(PIECES).outcome, outcome_t::GONE);
  EXPECT_EQ(entriesOf(directory), before);
}

TEST(FileReplacer, RemovesLeftoversOfKilledRunsOnly) {
  const TemporaryDirectory directory;
  directory.write(".a.pos.123-1.kelvarune-new", "left by a killed run");
  const std::string busy = directory.write(".a.pos.124-1.kelvarune-new", "of a running program");
  directory.write(".b.pos.123-1.kelvarune-new", "of another file");
  const file::Descriptor running(::open(busy.c_str(), O_RDONLY));
  ASSERT_EQ(::flock(running.get(), LOCK_EX), 0);
  FileReplacer(directory.write("a.pos", "old")).begin();
  EXPECT_EQ(entriesOf(directory), (QStringList{".a.pos.124-1.kelvarune-new"_s,
                                               ".b.pos.123-1.kelvarune-new"_s, "a.pos"_s}));
}

} // namespace
