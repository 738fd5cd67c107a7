// The kernel's lists of children make it a matter of microseconds to find descendants. Where it has
// none the whole table is read.

#include "process/ProcessTable.h"

#include "file/Io.h"

#include <QList>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>

#include <dirent.h>
#include <unistd.h>

namespace kelvarune::process {

namespace {

// The numbers by which a directory's entries are called.
std::vector<pid_t> numbersIn(const std::string &path) {
  std::vector<pid_t> numbers;
  DIR *directory = ::opendir(path.c_str());
  if (!directory)
    return numbers;
  while (const dirent *entry = ::readdir(directory)) {
    if (const pid_t number = std::atoi(entry->d_name); number > 0)
      numbers.push_back(number);
  }
  ::closedir(directory);
  return numbers;
}

// Nothing where the kernel keeps no lists.
std::optional<std::vector<pid_t>> childrenOf(pid_t pid) {
  static const bool haveLists =
      ::access(("/proc/self/task/" + std::to_string(::getpid()) + "/children").c_str(), R_OK) == 0;
  if (!haveLists)
    return std::nullopt;
  std::vector<pid_t> children;
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task/";
  for (const pid_t thread : numbersIn(tasks)) {
    QByteArray list;
    const file::Descriptor fd =
        file::openFile(tasks + std::to_string(thread) + "/children", O_RDONLY);
    if (!fd.isOpen() || !file::readAll(fd.get(), list))
      continue;
    for (const QByteArray &word : list.split(' ')) {
      if (const pid_t child = word.toInt(); child > 0)
        children.push_back(child);
    }
  }
  return children;
}

std::multimap<pid_t, pid_t> childrenByParent() {
  std::multimap<pid_t, pid_t> children;
  forEachProcess([&](const process_t &process) { children.emplace(process.parent, process.pid); });
  return children;
}

} // namespace

// Reads "pid (name) state ppid pgrp session ..." up to the start time, the 22nd field; the name may
// hold anything, also parentheses.
bool readProcess(pid_t pid, process_t &process) {
  const file::Descriptor fd = file::openFile("/proc/" + std::to_string(pid) + "/stat", O_RDONLY);
  char text[512];
  const ssize_t length = fd.isOpen() ? file::readSome(fd.get(), text, sizeof text - 1) : 0;
  if (length <= 0)
    return false;
  text[length] = '\0';
  const char *afterName = std::strrchr(text, ')');
  std::int64_t ticks[4] = {};
  process.pid = pid;
  const char *format = " %c %d %*d %d %*d %*d %*u %*u %*u %*u %*u %" SCNd64 " %" SCNd64 " %" SCNd64
                       " %" SCNd64 " %*d %*d %*d %*d %" SCNd64;
  const bool isRead =
      afterName &&
      std::sscanf(afterName + 1, format, &process.state, &process.parent, &process.session,
                  &ticks[0], &ticks[1], &ticks[2], &ticks[3], &process.startTicks) == 8;
  process.processorTicks = ticks[0] + ticks[1] + ticks[2] + ticks[3];
  return isRead;
}

void forEachProcess(const std::function<void(const process_t &)> &visit) {
  for (const pid_t pid : numbersIn("/proc")) {
    process_t process;
    if (readProcess(pid, process))
      visit(process);
  }
}

std::vector<pid_t> descendantsOf(pid_t ancestor) {
  std::vector<pid_t> found = {ancestor};
  std::multimap<pid_t, pid_t> table;
  for (std::size_t i = 0; i < found.size(); ++i) {
    std::optional<std::vector<pid_t>> children = childrenOf(found[i]);
    if (!children) {
      if (table.empty())
        table = childrenByParent();
      children.emplace();
      const auto [first, last] = table.equal_range(found[i]);
      std::for_each(first, last, [&](const auto &entry) { children->push_back(entry.second); });
    }
    for (const pid_t child : *children) {
      if (std::find(found.begin(), found.end(), child) == found.end())
        found.push_back(child);
    }
  }
  found.erase(found.begin());
  return found;
}

} // namespace kelvarune::process
