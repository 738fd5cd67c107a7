#include "kelvarune-cache/Store.h"
#include "support/Fixtures.h"

#include <QCryptographicHash>

#include <algorithm>
#include <filesystem>

#include <utime.h>

namespace {

using cache::answer_t;
using cache::Store;

QByteArray keyOf(int number) {
  return QCryptographicHash::hash(QByteArray::number(number), QCryptographicHash::Sha256).toHex();
}

class StoreTest : public testing::Test {
protected:
  static std::string nameOf(int number) { return keyOf(number).insert(2, '/').toStdString(); }

  // Makes a file look as if it had last been used `seconds` ago.
  void age(const std::string &name, int seconds) const {
    const utimbuf times = {::time(nullptr) - seconds, ::time(nullptr) - seconds};
    ASSERT_EQ(::utime(directory.bytePath(name).c_str(), &times), 0);
  }

  void keepAged(int number, int seconds) const {
    ASSERT_TRUE(Store(root(), 0).keep(keyOf(number), {"unsat\n", 0}));
    age(nameOf(number), seconds);
  }

  int fileCount() const {
    using std::filesystem::recursive_directory_iterator;
    const auto isFile = [](const auto &entry) { return entry.is_regular_file(); };
    return static_cast<int>(std::count_if(recursive_directory_iterator(root()), {}, isFile));
  }

  bool holds(int number) const { return Store(root(), 0).find(keyOf(number)).has_value(); }
  std::string root() const { return directory.path().toStdString(); }

  TemporaryDirectory directory;
};

TEST_F(StoreTest, GivesBackWhatItKeptByteForByte) {
  Store store(root(), 0);
  int number = 0;
  for (const QByteArray &output :
       {QByteArray(), QByteArray("a\0\n\xff", 4), QByteArray(1 << 20, 'x')}) {
    ASSERT_TRUE(store.keep(keyOf(number), {output, number}));
    const answer_t answer = store.find(keyOf(number)).value();
    EXPECT_EQ(std::tie(answer.output, answer.status), std::tie(output, number)) << number;
    ++number;
  }
  store.forget(keyOf(0));
  EXPECT_FALSE(store.find(keyOf(0)));
}

TEST_F(StoreTest, TakesADamagedAnswerForAbsent) {
  Store store(root(), 0);
  const std::string file = nameOf(1);
  store.keep(keyOf(1), {"unsat\nsat\n", 0});
  const std::string whole = directory.read(file);
  for (std::size_t place = 0; place < whole.size(); ++place) {
    directory.write(file, whole.substr(0, place));
    EXPECT_FALSE(store.find(keyOf(1))) << "cut to " << place;
    std::string flipped = whole;
    flipped[place] = static_cast<char>(flipped[place] ^ 1);
    directory.write(file, flipped);
    EXPECT_FALSE(store.find(keyOf(1))) << "flipped at " << place;
  }
  directory.write(file, whole);
  EXPECT_TRUE(store.find(keyOf(1)));
  store.keep(keyOf(2), {"", 0});
  directory.write(nameOf(2), whole);
  EXPECT_FALSE(store.find(keyOf(2))) << "under another key";
}

TEST_F(StoreTest, MakesRoomByWhatWasNotUsedForLongest) {
  constexpr int BLOCK = 4096;
  Store store(root(), 4 * BLOCK);
  for (int number = 0; number < 4; ++number)
    keepAged(number, 100 - number);
  ASSERT_TRUE(store.find(keyOf(0))); // now the one used last
  ASSERT_TRUE(store.keep(keyOf(4), {"unsat\n", 0}));
  EXPECT_TRUE(holds(0) && !holds(1) && !holds(2) && holds(3) && holds(4)) << "room for some more";
  EXPECT_FALSE(store.keep(keyOf(5), {QByteArray(5 * BLOCK, 'x'), 0})) << "larger than the bound";
  EXPECT_TRUE(holds(4));
  age(nameOf(4), -100); // a clock that was set back
  EXPECT_TRUE(store.keep(keyOf(6), {QByteArray(4 * BLOCK - 200, 'x'), 0})) << "as large as that";
  EXPECT_TRUE(holds(6) && !holds(4)) << "never what was just stored";
}

TEST_F(StoreTest, CountsAnewWhenTheSumIsLost) {
  for (const char *sum : {"", "x", "-5\n"}) {
    for (int number = 0; number < 8; ++number)
      keepAged(number, 10);
    directory.write("usage", sum);
    Store(root(), 8 * 4096).keep(keyOf(100), {"unsat\n", 0});
    EXPECT_LE(fileCount(), 8 + 1) << sum;
    EXPECT_TRUE(holds(100)) << sum;
  }
}

TEST_F(StoreTest, CleansUpWhatIsOfNoUse) {
  for (int number = 0; number < 4; ++number)
    keepAged(number, number == 0 ? 1000 : 0);
  directory.write(nameOf(1), "rubbish");
  const std::string temporary = nameOf(2).substr(0, 3) + ".new-";
  directory.write(temporary + "old", "x");
  age(temporary + "old", 4000);
  directory.write(temporary + "now", "x");
  directory.write("stranger", "x");
  ASSERT_TRUE(Store(root(), 0).cleanUp(500));
  EXPECT_TRUE(!holds(0) && !holds(1) && holds(2) && holds(3)) << "unused, damaged, two to keep";
  EXPECT_EQ(fileCount(), 2 + 1 + 1 + 1) << "two answers, usage, a young temporary file, a stranger";
  ASSERT_TRUE(Store(root(), 4096).cleanUp(0));
  EXPECT_NE(holds(2), holds(3)) << "the bound";
}

} // namespace
