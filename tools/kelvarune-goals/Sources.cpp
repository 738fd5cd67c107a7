#include "Sources.h"

#include "Paths.h"
#include "goals/PogText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

using namespace kelvarune;

namespace {

std::string errorText(int error) {
  return std::strerror(error);
}

struct entries_t {
  std::vector<std::string> files;
  std::vector<std::string> directories;
};

struct close_t {
  void operator()(DIR *directory) const { ::closedir(directory); }
};

bool isDirectory(const dirent &entry, int directory) {
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
    return entry.d_type == DT_DIR;
  struct stat status = {};
  return ::fstatat(directory, entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

/// What TPTP problems include, which has no goals of its own.
bool isAxioms(const std::string &name) {
  return name.size() > 3 && name.compare(name.size() - 3, 3, ".ax") == 0;
}

/// The names in a directory that count, in their order. The error number, or 0.
int readDirectory(const std::string &path, entries_t &entries) {
  const std::unique_ptr<DIR, close_t> directory(::opendir(path.c_str()));
  if (!directory)
    return errno;
  errno = 0;
  while (const dirent *entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name[0] == '.')
      continue;
    if (isDirectory(*entry, ::dirfd(directory.get())))
      entries.directories.push_back(name);
    else if (goals::languageOf(name) && !isAxioms(name))
      entries.files.push_back(name);
    errno = 0;
  }
  const int error = errno;
  std::sort(entries.files.begin(), entries.files.end());
  std::sort(entries.directories.begin(), entries.directories.end());
  return error;
}

bool mayBeInTag(char byte) {
  static const std::string KEPT = "_-+=.,:@/^~";
  const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  return isLetter || (byte >= '0' && byte <= '9') || static_cast<unsigned char>(byte) >= 0x80 ||
         KEPT.find(byte) != std::string::npos;
}

} // namespace

void Search::search(const std::string &path, const std::string &base) {
  const std::string relative = paths::relativePath(path, base);
  const std::string below = relative == "." ? std::string() : relative;
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0)
    return fault(path, errorText(errno));
  if (S_ISDIR(status.st_mode))
    return searchDirectory(path, below);
  const auto language = goals::languageOf(path);
  if (!language)
    return fault(path, "its suffix tells no language: .smt2 is SMT-LIB, .p TPTP");
  found({path, below, *language});
}

void Search::searchDirectory(const std::string &path, const std::string &below) {
  struct stat status = {};
  entries_t entries;
  if (::stat(path.c_str(), &status) == 0 && !searched.emplace(status.st_dev, status.st_ino).second)
    return;
  const int error = readDirectory(path, entries);
  if (error != 0)
    return fault(path, errorText(error));
  for (const std::string &name : entries.files)
    found({paths::joined(path, name), paths::joined(below, name), *goals::languageOf(name)});
  for (const std::string &name : entries.directories)
    searchDirectory(paths::joined(path, name), paths::joined(below, name));
}

std::string commonDirectory(const std::vector<std::string> &all) {
  std::string common;
  for (const std::string &path : all) {
    struct stat status = {};
    const bool isFile = ::stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
    std::string directory = isFile ? paths::parentOf(path) : path;
    if (common.empty())
      common = directory;
    const auto isIn = [&common](const std::string &inner) {
      return common == "/" || inner == common ||
             inner.compare(0, common.size() + 1, common + "/") == 0;
    };
    while (!isIn(directory))
      common = paths::parentOf(common);
  }
  return common;
}

std::string withoutSuffix(const std::string &path) {
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos || dot < path.rfind('/') + 1 ? path : path.substr(0, dot);
}

std::string Tags::tagFor(const std::string &path) {
  // What is no UTF-8, or has no place on a line, is "%" and two digits there.
  const std::string text = goals::encoded(path, goals::place_t::MESSAGE);
  std::string tag;
  for (std::size_t i = 0; i < text.size(); i += text[i] == '%' ? 3 : 1)
    tag += mayBeInTag(text[i]) ? text[i] : '_';
  if (tag.empty())
    tag = "_";
  const auto isNew = [this](const std::string &candidate) {
    return taken.insert(std::hash<std::string>()(candidate)).second;
  };
  if (isNew(tag))
    return tag;
  int &number = last.emplace(tag, 1).first->second;
  std::string unique;
  do
    unique = tag + "~" + std::to_string(++number);
  while (!isNew(unique));
  return unique;
}
