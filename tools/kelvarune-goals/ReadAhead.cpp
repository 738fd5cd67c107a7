// Reading is mostly waiting and copying, so that it fits beside taking scripts apart. Items go over
// in heaps: a thread that is woken for each of them would cost more than it saves.

#include "ReadAhead.h"

#include <sys/stat.h>

using namespace kelvarune;

namespace {

constexpr std::size_t MOST_BYTES = 1 << 18; // that wait
constexpr std::size_t MOST_ITEMS = 256;
constexpr off_t LARGE = 1 << 16;

std::optional<file_text_t> textAhead(const std::string &path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0 && status.st_size > LARGE)
    return std::nullopt;
  return readTwice(path);
}

} // namespace

file_text_t readTwice(const std::string &path) {
  file_text_t text = goals::readSource(path);
  return text.index() == 0 ? std::move(text) : goals::readSource(path);
}

ReadAhead::ReadAhead(const std::function<void(Search &)> &search)
    : thread([this, search] {
        Search searching(
            [this](const found_file_t &file) {
              put({file, std::nullopt, textAhead(file.path)});
            },
            [this](const std::string &path, const std::string &fault) {
              put({{path, {}, goals::language_t::SMTLIB}, fault});
            });
        search(searching);
        const std::lock_guard lock(mutex);
        ended = true;
        changed.notify_all();
      }) {}

void ReadAhead::put(item_t item) {
  const auto *read = item.text ? std::get_if<std::string>(&*item.text) : nullptr;
  const std::size_t size = read ? read->size() : 0;
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return bytes < MOST_BYTES && items.size() < MOST_ITEMS; });
  bytes += size;
  items.push_back(std::move(item));
  if (bytes >= MOST_BYTES / 2 || items.size() >= MOST_ITEMS / 2 || !read)
    changed.notify_all();
}

std::vector<ReadAhead::item_t> ReadAhead::take() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return ended || !items.empty(); });
  bytes = 0;
  changed.notify_all();
  return std::exchange(items, {});
}
