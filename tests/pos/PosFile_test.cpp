// When a POS file is written, and when it must not be.

#include "pos/PosFile.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <algorithm>
#include <stdexcept>

#include <signal.h>
#include <sys/resource.h>

using namespace kelvarune;

namespace {

using namespace std::chrono_literals;

/// A POS file in a directory of its own, with its owner's mutex.
struct owner_t {
  explicit owner_t(bool isLoaded = true) {
    put("<r/>");
    EXPECT_TRUE(!isLoaded || load());
  }
  bool load(bool accepted = true) {
    return file.load(document, [accepted] { return accepted; });
  }
  bool save() { return file.saveUpTo(file.ticket(), mutex); }
  bool saveAtLast(std::chrono::milliseconds patience = 1s) {
    return file.saveBefore(std::chrono::steady_clock::now() + patience, mutex);
  }
  std::string content() const { return directory.read("c.pos"); }
  void put(const std::string &text) const { directory.write("c.pos", text); }

  TemporaryDirectory directory;
  pos::PosFile file{directory.path("c.pos"_s)};
  QDomDocument document;
  std::mutex mutex;
};

TEST(PosFile, IsNeverSavedUnlessALoadWasRight) {
  const std::pair<const char *, void (*)(owner_t &)> rows[] = {
      {"not loaded", [](owner_t &) {}},
      {"missing",
       [](owner_t &owner) {
         QFile::remove(owner.directory.path("c.pos"_s));
         EXPECT_FALSE(owner.load());
       }},
      {"refused, then loaded again",
       [](owner_t &owner) {
         EXPECT_FALSE(owner.load(false));
         EXPECT_FALSE(owner.load());
       }},
      {"raised", [](owner_t &owner) {
         const auto raise = []() -> bool { throw std::out_of_range("map::at"); };
         EXPECT_THROW(owner.file.load(owner.document, raise), std::out_of_range);
       }}};
  for (const auto &[name, attempt] : rows) {
    owner_t owner(false);
    attempt(owner);
    owner.put("<there again/>");
    EXPECT_FALSE(owner.save()) << name;
    EXPECT_FALSE(owner.saveAtLast()) << name;
    EXPECT_EQ(owner.content(), "<there again/>") << name;
  }
}

TEST(PosFile, MalformedFileIsKeptBesideTheFirstSave) {
  owner_t owner(false);
  const std::string original = "<Proof_Obligations><Proof_Obligation><Tag>T</Tag></Proof_";
  owner.put(original);
  ASSERT_TRUE(owner.load());
  for (int save = 0; save < 2; ++save) {
    ASSERT_TRUE(owner.save());
    EXPECT_EQ(owner.directory.read("c.pos~"), original) << "kept once, before the first save";
  }
}

TEST(PosFile, OneWriteServesAllTicketsIssuedBefore) {
  owner_t owner;
  const quint64 first = owner.file.ticket();
  ASSERT_TRUE(owner.save());
  owner.put("<other/>");
  EXPECT_TRUE(owner.file.saveUpTo(first, owner.mutex));
  EXPECT_EQ(owner.content(), "<other/>") << "already saved, not written again";
  EXPECT_TRUE(owner.save());
  EXPECT_NE(owner.content(), "<other/>");
}

TEST(PosFile, TheLastSaveIsTheLast) {
  owner_t owner;
  EXPECT_TRUE(owner.saveAtLast());
  owner.put("<other/>");
  EXPECT_FALSE(owner.save());
  EXPECT_TRUE(owner.saveAtLast()) << "the result of the first";
  EXPECT_EQ(owner.content(), "<other/>");
}

TEST(PosFile, TheLastSaveDoesNotWaitForABusyDocument) {
  owner_t owner;
  const std::lock_guard busy(owner.mutex);
  EXPECT_FALSE(owner.saveAtLast(10ms));
  EXPECT_EQ(owner.content(), "<r/>");
}

TEST(PosFile, AFailureIsReportedOnceUntilASaveWorks) {
  owner_t owner;
  rlimit limit = {};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit none = {0, limit.rlim_max};
  const auto previous = ::signal(SIGXFSZ, SIG_IGN);
  for (const char *round : {"first", "after a save that worked"}) {
    ::setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_FALSE(owner.save()) << round;
    EXPECT_FALSE(owner.save()) << round;
    const std::string failure = owner.file.takeFailure();
    EXPECT_EQ(std::count(failure.begin(), failure.end(), '\n'), 1) << round << failure;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(owner.save()) << round;
  }
  ::signal(SIGXFSZ, previous);
}

} // namespace
