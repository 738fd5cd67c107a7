#include "kelvarune-cache/Store.h"
#include "support/Fixtures.h"

#include <QCryptographicHash>
#include <QDirIterator>

#include <sys/stat.h>
#include <utime.h>

namespace {

using cache::answer_t;
using cache::Store;

QByteArray keyOf(int number) {
  return QCryptographicHash::hash(QByteArray::number(number), QCryptographicHash::Sha256).toHex();
}

class StoreTest : public testing::Test {
protected:
  std::string path(const QByteArray &key) const {
    return directory.bytePath((key.left(2) + '/' + key.mid(2)).toStdString());
  }

  // Makes an answer look as if it had last been used `seconds` ago.
  void age(const QByteArray &key, int seconds) const {
    const utimbuf times = {::time(nullptr) - seconds, ::time(nullptr) - seconds};
    ASSERT_EQ(::utime(path(key).c_str(), &times), 0);
  }

  int fileCount() const {
    int count = 0;
    QDirIterator files(directory.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    for (; files.hasNext(); ++count)
      files.next();
    return count;
  }

  bool holds(int number) { return Store(root(), 0).find(keyOf(number)).has_value(); }
  std::string root() const { return directory.path().toStdString(); }

  TemporaryDirectory directory;
};

TEST_F(StoreTest, GivesBackWhatItKeptByteForByte) {
  Store store(root(), 0);
  const QByteArray outputs[] = {"", "unsat\n", QByteArray("a\0\n\xff", 4),
                                QByteArray(1 << 20, 'x')};
  int number = 0;
  for (const QByteArray &output : outputs) {
    ASSERT_TRUE(store.keep(keyOf(number), {output, number}));
    const auto answer = store.find(keyOf(number));
    ASSERT_TRUE(answer) << number;
    EXPECT_EQ(answer->output, output);
    EXPECT_EQ(answer->status, number++);
  }
  store.forget(keyOf(0));
  EXPECT_FALSE(store.find(keyOf(0)));
}

TEST_F(StoreTest, TakesADamagedAnswerForAbsent) {
  Store store(root(), 0);
  const QByteArray key = keyOf(1);
  store.keep(key, {"unsat\nsat\n", 0});
  const std::string whole = directory.read(path(key).substr(root().size() + 1));
  const auto damage = [&](const std::string &content) {
    directory.write(path(key).substr(root().size() + 1), content);
    return store.find(key).has_value();
  };
  ASSERT_TRUE(damage(whole)) << "the undamaged one";
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_FALSE(damage(whole.substr(0, length))) << "cut to " << length;
  for (std::size_t place = 0; place < whole.size(); ++place) {
    std::string flipped = whole;
    flipped[place] = static_cast<char>(flipped[place] ^ 1);
    EXPECT_FALSE(damage(flipped)) << "flipped at " << place;
  }
  damage(whole);
  ASSERT_EQ(::mkdir((root() + "/" + keyOf(2).left(2).toStdString()).c_str(), 0777), 0);
  ASSERT_EQ(::rename(path(key).c_str(), path(keyOf(2)).c_str()), 0);
  EXPECT_FALSE(store.find(keyOf(2))) << "under another key";
}

TEST_F(StoreTest, MakesRoomByWhatWasNotUsedForLongest) {
  constexpr int BLOCK = 4096;
  Store store(root(), 4 * BLOCK);
  for (int number = 0; number < 4; ++number) {
    ASSERT_TRUE(store.keep(keyOf(number), {"unsat\n", 0}));
    age(keyOf(number), 100 - number);
  }
  ASSERT_TRUE(store.find(keyOf(0))); // now the one used last
  ASSERT_TRUE(store.keep(keyOf(4), {"unsat\n", 0}));
  EXPECT_TRUE(holds(0));
  EXPECT_FALSE(holds(1));
  EXPECT_FALSE(holds(2)); // room for some more at once
  EXPECT_TRUE(holds(3));
  EXPECT_TRUE(holds(4));
  EXPECT_FALSE(store.keep(keyOf(5), {QByteArray(5 * BLOCK, 'x'), 0})) << "larger than the bound";
  EXPECT_TRUE(holds(4));
  EXPECT_TRUE(store.keep(keyOf(6), {QByteArray(4 * BLOCK - 200, 'x'), 0})) << "as large as that";
  EXPECT_TRUE(holds(6));
  EXPECT_FALSE(holds(4));
}

TEST_F(StoreTest, CountsAnewWhenTheSumIsLost) {
  for (const char *sum : {"", "x", "-5\n"}) {
    Store store(root(), 8 * 4096);
    for (int number = 0; number < 8; ++number) {
      store.keep(keyOf(number), {"unsat\n", 0});
      age(keyOf(number), 10);
    }
    directory.write("usage", sum);
    store.keep(keyOf(100), {"unsat\n", 0});
    EXPECT_LE(fileCount(), 8 + 1) << sum;
    EXPECT_TRUE(holds(100)) << sum;
  }
}

TEST_F(StoreTest, CleansUpWhatIsOfNoUse) {
  Store store(root(), 0);
  for (int number = 0; number < 4; ++number)
    store.keep(keyOf(number), {"unsat\n", 0});
  age(keyOf(0), 1000);
  directory.write(path(keyOf(1)).substr(root().size() + 1), "rubbish");
  const std::string folder = keyOf(2).left(2).toStdString();
  const std::string old = directory.write(folder + "/.new-old", "x");
  const utimbuf longAgo = {1000000, 1000000};
  ASSERT_EQ(::utime(old.c_str(), &longAgo), 0);
  directory.write(folder + "/.new-now", "x");
  directory.write("stranger", "x");

  ASSERT_TRUE(store.cleanUp(500));
  EXPECT_FALSE(holds(0)) << "unused";
  EXPECT_FALSE(holds(1)) << "damaged";
  EXPECT_TRUE(holds(2));
  EXPECT_TRUE(holds(3));
  EXPECT_EQ(fileCount(), 2 + 1 + 1 + 1) << "two answers, usage, a young temporary file, a stranger";
  ASSERT_TRUE(Store(root(), 4096).cleanUp(0));
  EXPECT_NE(holds(2), holds(3)) << "the bound";
}

TEST_F(StoreTest, SaysWhenItCannotKeep) {
  const std::string file = directory.write("file", "");
  EXPECT_FALSE(Store(file, 0).keep(keyOf(1), {"unsat\n", 0}));
  EXPECT_FALSE(Store(file, 0).cleanUp(0));
  EXPECT_FALSE(Store(file, 0).find(keyOf(1)));
}

} // namespace
