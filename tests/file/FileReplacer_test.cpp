#include "file/FileReplacer.h"
#include "file/Io.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <QProcess>

#include <map>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace kelvarune;
using file::FileReplacer;
using file::foreign_t;
using file::outcome_t;

namespace {

// What a command prints in the directory; "refused" when it fails.
QByteArray shell(const TemporaryDirectory &directory, const QString &command) {
  QProcess process;
  process.setWorkingDirectory(directory.path());
  process.start("sh"_s, {"-c"_s, command});
  return process.waitForFinished() && process.exitCode() == 0 ? process.readAll() : "refused";
}

const QString LIST = "ls -AF"_s; // @ after a link
const QString INODE = "stat -c %i a.pos"_s;
const QString IDENTITY = "stat -c '%a %u:%g'%1; getfacl -cn%1; getfattr -d --only-values%1; :"_s;

// What is done to a file in its directory, by the name of the case. Where that cannot be done (it
// takes root, or a file system that has such things) the case is left out.
const std::map<const char *, QString> IDENTITIES = {
    {"mode", "chmod 640 a.pos"_s},
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
    const QByteArray inode = shell(directory, INODE);
    FileReplacer replacer(path);
    EXPECT_EQ(replacer.keepBackup().outcome, outcome_t::DONE);
    EXPECT_EQ(directory.read("a.pos~"), "an old content");
    EXPECT_EQ(shell(directory, IDENTITY.arg(" a.pos~"_s)), identity);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(replacer.replace(pieces).outcome, outcome_t::DONE);
      EXPECT_EQ(shell(directory, IDENTITY.arg(" a.pos"_s)), identity) << "replacement " << i;
      EXPECT_EQ(shell(directory, INODE) == inode, i == 1) << "replaced, not rewritten";
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
  std::set<QByteArray> inodes;
  std::unique_ptr<QFile> reader;
  FileReplacer replacer(path);
  for (int i = 0; i < 40; ++i) {
    pieces[i % 3] = QByteArray(i % 5, 'a' + i % 26) + ' ';
    if (i == 10 || i == 30)
      directory.write("a.pos", foreign + std::to_string(i));
    if (i == 20)
      shell(directory, "chmod 600 a.pos"_s);
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
      inodes.insert(shell(directory, INODE));
  }
  EXPECT_EQ(inodes.size(), 2U) << "two files take turns";
  EXPECT_EQ(directory.read("a.pos~"), foreign + "10") << "what came in is kept once";
  EXPECT_EQ(shell(directory, "stat -c %a a.pos"_s), "600\n");
  shell(directory, "echo 'somebody else gives this its name' >b; mv b .*new"_s);
  replacer.removeSpare();
  EXPECT_EQ(shell(directory, LIST), "a.pos\na.pos~\n") << "the spare is gone";
}

TEST(FileReplacer, FollowsLinksAndKeepsThem) {
  const TemporaryDirectory directory;
  const std::string name(250, 'n'); // leaves no room for the rest of a temporary name
  shell(directory, "mkdir real; ln -s second link.pos; touch .link.pos.1-1.kelvarune-new"_s);
  directory.write("real/" + name, "old");
  shell(directory, "ln -s real/n* second"_s);
  const std::string link = directory.bytePath("link.pos");
  EXPECT_EQ(FileReplacer(link).replace({"new ", "", "content"}).outcome, outcome_t::DONE);
  EXPECT_EQ(shell(directory, LIST), "link.pos@\nreal/\nsecond@\n")
      << "nor anything of a killed run";
  EXPECT_EQ(directory.read("real/" + name), "new content");

  shell(directory, "ln real/n* hard"_s);
  EXPECT_EQ(FileReplacer(link).replace({"both"}).outcome, outcome_t::DONE);
  EXPECT_EQ(directory.read("hard"), "both") << "a second hard link is not cut off";
  EXPECT_EQ(directory.read("real/" + name), "both");
}

TEST(FileReplacer, RemovesLeftoversOfKilledRunsOnly) {
  const TemporaryDirectory directory;
  directory.write(".a.pos.123-1.kelvarune-new", "left by a killed run");
  const std::string busy = directory.write(".a.pos.124-1.kelvarune-new", "of a running program");
  directory.write(".b.pos.123-1.kelvarune-new", "of another file");
  const file::Descriptor running(::open(busy.c_str(), O_RDONLY));
  ASSERT_EQ(::flock(running.get(), LOCK_EX), 0);
  FileReplacer(directory.write("a.pos", "old")).begin();
  EXPECT_EQ(shell(directory, LIST),
            ".a.pos.124-1.kelvarune-new\n.b.pos.123-1.kelvarune-new\na.pos\n");
}

} // namespace
