// A group is made below that of this process or beside it: a group that holds processes may not
// divide its memory among groups below, so it mostly is beside it. Not where that would let the
// prover out of limits that somebody has set, perhaps this very program.

#include "kelvarune-limit/ControlGroup.h"

#include "file/Io.h"

#include <QList>

#include <cstdlib>
#include <vector>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace kelvarune;

namespace limit {

namespace {

// Where the groups of version 2 are: alone, or beside those of version 1.
constexpr const char *ROOTS[] = {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"};

QByteArray contentOf(const std::string &path) {
  QByteArray text;
  const file::Descriptor fd = file::openFile(path, O_RDONLY);
  if (!fd.isOpen() || !file::readAll(fd.get(), text))
    return {};
  return text;
}

// The directory of this process's group, empty when it is in none.
std::string ownDirectory() {
  for (const QByteArray &line : contentOf("/proc/self/cgroup").split('\n')) {
    if (!line.startsWith("0::/"))
      continue;
    for (const std::string root : ROOTS) {
      if (::access((root + "/cgroup.controllers").c_str(), R_OK) == 0)
        return root + line.mid(line.size() == 4 ? 4 : 3).toStdString();
    }
  }
  return {};
}

bool isMarked(const std::string &directory) {
  char value[2] = {};
  return ::getxattr(directory.c_str(), "user.delegate", value, 1) == 1 && value[0] == '1';
}

// Whether the service manager has left this part of the tree to others. For everybody but root,
// permissions say so.
bool isLeftToUs(std::string directory) {
  if (::geteuid() != 0 || ::access("/run/systemd/system", F_OK) != 0)
    return true;
  for (; !directory.empty(); directory.resize(directory.rfind('/'))) {
    if (isMarked(directory))
      return true;
  }
  return false;
}

bool isLimited(const std::string &directory) {
  for (const char *file : {"/memory.max", "/memory.high", "/cpu.max", "/pids.max"}) {
    const QByteArray limit = contentOf(directory + file);
    if (!limit.isEmpty() && !limit.startsWith("max"))
      return true;
  }
  return false;
}

} // namespace

std::unique_ptr<ControlGroup> ControlGroup::make(std::uint64_t memoryLimit) {
  const std::string own = ownDirectory();
  if (own.empty())
    return nullptr;
  for (const std::string &parent : {own, own.substr(0, own.rfind('/'))}) {
    if (parent != own && isLimited(own))
      break;
    if (::access((parent + "/cgroup.procs").c_str(), W_OK) != 0 || !isLeftToUs(parent))
      continue;
    const std::string path = parent + "/kelvarune-limit-" + std::to_string(::getpid());
    ::rmdir(path.c_str()); // of a process of this number that was killed
    if (::mkdir(path.c_str(), 0755) != 0)
      continue;
    std::unique_ptr<ControlGroup> group(new ControlGroup(path));
    if (group->processes() < 0 || !group->write("memory.max", std::to_string(memoryLimit)))
      continue;
    group->write("memory.swap.max", "0"); // these two where there are such files
    group->write("memory.oom.group", "1");
    return group;
  }
  return nullptr;
}

ControlGroup::ControlGroup(std::string directory)
    : path(std::move(directory)), members(file::openFile(path + "/cgroup.procs", O_WRONLY)) {}

ControlGroup::~ControlGroup() {
  members.reset();
  ::rmdir(path.c_str());
}

bool ControlGroup::write(const char *name, const std::string &text) const {
  const file::Descriptor fd = file::openFile(path + '/' + name, O_WRONLY);
  return fd.isOpen() && file::writeAll(fd.get(), text.data(), text.size());
}

// The number behind the key at the start of a line, or without a key the file's only one.
std::uint64_t ControlGroup::number(const char *name, const char *key) const {
  const QByteArray text = '\n' + contentOf(path + '/' + name);
  const QByteArray word = '\n' + QByteArray(key);
  const int begin = text.indexOf(word);
  return begin < 0 ? 0 : std::strtoull(text.constData() + begin + word.size(), nullptr, 10);
}

bool ControlGroup::hasReachedLimit() const {
  return number("memory.events", "oom_kill ") > 0;
}

std::optional<std::pair<std::chrono::microseconds, std::chrono::microseconds>>
ControlGroup::time() const {
  using std::chrono::microseconds;
  const microseconds user(number("cpu.stat", "user_usec "));
  const microseconds system(number("cpu.stat", "system_usec "));
  if ((user + system).count() == 0)
    return std::nullopt;
  return std::make_pair(user, system);
}

std::uint64_t ControlGroup::peakMemory() const {
  return number("memory.peak", "");
}

void ControlGroup::kill() const {
  write("cgroup.kill", "1");
}

} // namespace limit
