// The bound must hold with many writers, but walking the directory for every new answer would cost
// more than quick provers take. The file "usage" therefore holds the space used, and its lock
// serialises those who change it. Only when the sum passes the bound is the directory walked, and
// then a tenth of the bound is freed so that the next walk is far away. A writer that is killed
// between its rename and its sum leaves the sum too small until the next walk.

#include "kelvarune-cache/Store.h"

#include "file/Io.h"

#include <QCryptographicHash>
#include <QList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <tuple>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>

using namespace kelvarune;

namespace cache {

namespace {

constexpr std::uint64_t BLOCK_BYTES = 4096; // what the least file takes on most file systems
constexpr double LEFTOVER_SECONDS = 3600;   // no writer takes so long for its temporary file
const char MAGIC[] = "kelvarune-cache 1";
const char TEMPORARY_PREFIX[] = ".new-";

std::uint64_t diskBytes(std::uint64_t size) {
  return (size + BLOCK_BYTES - 1) / BLOCK_BYTES * BLOCK_BYTES;
}

std::string folderOf(const std::string &directory, const QByteArray &key) {
  return directory + "/" + key.left(2).toStdString();
}

std::string pathOf(const std::string &directory, const QByteArray &key) {
  return folderOf(directory, key) + "/" + key.mid(2).toStdString();
}

// The checksum covers everything else, so that no damage passes for another answer.
QByteArray headerOf(const QByteArray &key, const answer_t &answer) {
  const QByteArray words = QByteArray(MAGIC) + ' ' + key + ' ' + QByteArray::number(answer.status);
  QCryptographicHash sum(QCryptographicHash::Sha256);
  sum.addData(words + '\n');
  sum.addData(answer.output);
  return words + ' ' + sum.result().toHex() + '\n';
}

std::optional<answer_t> readEntry(int fd, const QByteArray &key) {
  QByteArray content;
  if (!file::readAll(fd, content))
    return std::nullopt;
  const int headerEnd = content.indexOf('\n') + 1;
  const QList<QByteArray> words = content.left(headerEnd).split(' ');
  if (words.size() != 5)
    return std::nullopt;
  answer_t answer;
  answer.status = words.at(3).toInt();
  answer.output = content.mid(headerEnd);
  if (headerOf(key, answer) != content.left(headerEnd))
    return std::nullopt;
  return answer;
}

/// The space that the answers take, kept in a locked file as long as the object lives.
class Usage {
public:
  explicit Usage(const std::string &directory)
      : file(file::openFile(directory + "/usage", O_RDWR | O_CREAT, 0666)) {
    if (file.isOpen() && ::flock(file.get(), LOCK_EX) != 0)
      file.reset();
  }

  bool isLocked() const { return file.isOpen(); }

  /// Nothing when the sum is not known and has to be counted.
  std::optional<std::uint64_t> read() const {
    QByteArray text;
    bool isNumber = false;
    if (!file::readAll(file.get(), text))
      return std::nullopt;
    const std::uint64_t bytes = text.trimmed().toULongLong(&isNumber);
    return isNumber ? std::optional(bytes) : std::nullopt;
  }

  void write(std::uint64_t bytes) {
    // Blanks fill the line to one length, so that no older, longer number shows behind it.
    const QByteArray text = QByteArray::number(qulonglong(bytes)).leftJustified(20) + '\n';
    if (::pwrite(file.get(), text.constData(), static_cast<std::size_t>(text.size()), 0) !=
            text.size() &&
        ::ftruncate(file.get(), 0) != 0)
      return; // a sum that cannot be kept at all is counted again next time
  }

private:
  file::Descriptor file;
};

struct entry_t {
  QByteArray key;
  timespec used;
  std::uint64_t bytes;
};

double secondsSince(const timespec &time) {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec - time.tv_sec) +
         1e-9 * static_cast<double>(now.tv_nsec - time.tv_nsec);
}

// Of those used at the same time by the file system's clock, which may stand still for some
// milliseconds, the order is arbitrary but always the same.
bool usedEarlier(const entry_t &left, const entry_t &right) {
  return std::tie(left.used.tv_sec, left.used.tv_nsec, left.key) <
         std::tie(right.used.tv_sec, right.used.tv_nsec, right.key);
}

// Another program may change the directory meanwhile; what vanishes is not there.
std::vector<entry_t> entriesOf(const std::string &directory) {
  std::vector<entry_t> entries;
  std::error_code ignored;
  for (const auto &folder : std::filesystem::directory_iterator(directory, ignored)) {
    const std::string folderName = folder.path().filename();
    if (folderName.size() != 2)
      continue;
    for (const auto &file : std::filesystem::directory_iterator(folder.path(), ignored)) {
      struct stat status;
      if (::lstat(file.path().c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        continue;
      const std::string name = file.path().filename();
      if (name.rfind(TEMPORARY_PREFIX, 0) != 0)
        entries.push_back({QByteArray::fromStdString(folderName + name), status.st_mtim,
                           diskBytes(static_cast<std::uint64_t>(status.st_size))});
      else if (secondsSince(status.st_mtim) > LEFTOVER_SECONDS)
        ::unlink(file.path().c_str());
    }
  }
  return entries;
}

// Frees the space that goes beyond `limit`, but not that of the answer `spared`, and returns what
// remains in use.
std::uint64_t evict(const std::string &directory, std::vector<entry_t> entries, std::uint64_t limit,
                    const QByteArray &spared = {}) {
  std::sort(entries.begin(), entries.end(), usedEarlier);
  std::uint64_t used = 0;
  for (const entry_t &entry : entries)
    used += entry.bytes;
  for (const entry_t &entry : entries) {
    if (used <= limit)
      break;
    if (entry.key == spared)
      continue;
    ::unlink(pathOf(directory, entry.key).c_str());
    used -= entry.bytes;
  }
  return used;
}

constexpr std::uint64_t NO_LIMIT = ~std::uint64_t(0);

bool isDamaged(const std::string &directory, const QByteArray &key) {
  const file::Descriptor file = file::openFile(pathOf(directory, key), O_RDONLY);
  return file.isOpen() && !readEntry(file.get(), key);
}

/// The file that is as long as questions had this outcome: a byte that is appended needs no lock.
std::string countPath(const std::string &directory, outcome_t outcome) {
  return directory + (outcome == outcome_t::HIT ? "/hits" : "/misses");
}

std::uint64_t sizeOf(const std::string &path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool makeFolder(const std::string &path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  return !error;
}

} // namespace

Store::Store(std::string directory, std::uint64_t maxBytes)
    : directory(std::move(directory)), maxBytes(maxBytes) {}

std::optional<answer_t> Store::find(const QByteArray &key) const {
  const file::Descriptor file = file::openFile(pathOf(directory, key), O_RDONLY);
  if (!file.isOpen())
    return std::nullopt;
  std::optional<answer_t> answer = readEntry(file.get(), key);
  if (answer)
    ::futimens(file.get(), nullptr); // fails where the directory is shared read-only, rightly
  return answer;
}

bool Store::keep(const QByteArray &key, const answer_t &answer) {
  const QByteArray header = headerOf(key, answer);
  const std::uint64_t bytes = diskBytes(static_cast<std::uint64_t>(header.size()) +
                                        static_cast<std::uint64_t>(answer.output.size()));
  if ((maxBytes > 0 && bytes > maxBytes) || !makeFolder(folderOf(directory, key)))
    return false;

  std::string temporary = folderOf(directory, key) + "/" + TEMPORARY_PREFIX + "XXXXXX";
  const file::Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
  if (!file.isOpen())
    return false;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  const std::string path = pathOf(directory, key);
  if (!file::writeAll(file.get(), header) || !file::writeAll(file.get(), answer.output) ||
      ::fchmod(file.get(), 0666 & ~mask) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }

  Usage usage(directory);
  if (!usage.isLocked())
    return true;
  const std::optional<std::uint64_t> before = usage.read();
  const std::uint64_t used = before ? *before + bytes : NO_LIMIT;
  const std::uint64_t limit = maxBytes > 0 ? maxBytes : NO_LIMIT - 1;
  usage.write(used <= limit ? used
                            : evict(directory, entriesOf(directory),
                                    std::max(limit - limit / 10, bytes), key));
  return true;
}

void Store::forget(const QByteArray &key) {
  ::unlink(pathOf(directory, key).c_str());
}

bool Store::cleanUp(double unusedSeconds) {
  if (!makeFolder(directory))
    return false;
  Usage usage(directory);
  if (!usage.isLocked())
    return false;
  std::vector<entry_t> entries = entriesOf(directory);
  const auto isUseless = [&](const entry_t &entry) {
    const bool useless = (unusedSeconds > 0 && secondsSince(entry.used) > unusedSeconds) ||
                         isDamaged(directory, entry.key);
    return useless && ::unlink(pathOf(directory, entry.key).c_str()) == 0;
  };
  entries.erase(std::remove_if(entries.begin(), entries.end(), isUseless), entries.end());
  usage.write(evict(directory, std::move(entries), maxBytes > 0 ? maxBytes : NO_LIMIT));
  return true;
}

void Store::count(outcome_t outcome) const {
  if (outcome == outcome_t::MISS)
    makeFolder(directory);
  const file::Descriptor file =
      file::openFile(countPath(directory, outcome), O_WRONLY | O_APPEND | O_CREAT, 0666);
  if (file.isOpen())
    file::writeAll(file.get(), ".", 1);
}

stats_t Store::stats() const {
  stats_t stats;
  stats.hits = sizeOf(countPath(directory, outcome_t::HIT));
  stats.misses = sizeOf(countPath(directory, outcome_t::MISS));
  for (const entry_t &entry : entriesOf(directory)) {
    ++stats.answers;
    stats.bytes += entry.bytes;
  }
  return stats;
}

bool Store::resetCounts() const {
  const auto reset = [&](outcome_t outcome) {
    const std::string path = countPath(directory, outcome);
    return ::truncate(path.c_str(), 0) == 0 || errno == ENOENT;
  };
  return reset(outcome_t::HIT) && reset(outcome_t::MISS);
}

} // namespace cache
