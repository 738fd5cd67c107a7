// Every part goes into the hash with its length before it, so that no two requests run together
// into the same bytes.

#include "kelvarune-cache/Key.h"

#include "file/Io.h"

#include <QCryptographicHash>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <sys/stat.h>

using namespace kelvarune;

namespace cache {

namespace {

constexpr int READ_BYTES = 1 << 16;

class KeyHash {
public:
  KeyHash() : hash(QCryptographicHash::Sha256) { addText("kelvarune-cache 1"); }

  void addText(const std::string &text) {
    const std::string framed = std::to_string(text.size()) + ":" + text;
    hash.addData(framed.data(), static_cast<int>(framed.size()));
  }

  /// The bytes of a file from `offset` on, by their own hash: their number is not known beforehand.
  bool addFile(int fd, off_t offset) {
    QCryptographicHash content(QCryptographicHash::Sha256);
    char block[READ_BYTES];
    for (ssize_t count; (count = file::readSomeAt(fd, block, sizeof block, offset)) != 0;
         offset += count) {
      if (count < 0)
        return false;
      content.addData(block, static_cast<int>(count));
    }
    addText(content.result().toHex().toStdString());
    return true;
  }

  QByteArray result() const { return hash.result().toHex(); }

private:
  QCryptographicHash hash;
};

bool isRegularFile(const std::string &path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool addNamedFile(KeyHash &hash, const std::string &path) {
  const file::Descriptor file = file::openFile(path, O_RDONLY);
  return file.isOpen() && hash.addFile(file.get(), 0);
}

std::string baseName(const std::string &path) {
  return path.substr(path.rfind('/') + 1);
}

bool addProver(KeyHash &hash, const request_t &request) {
  hash.addText(baseName(request.program)); // some programs go by their name
  if (!request.versionText.empty()) {
    hash.addText("version " + request.versionText);
    return true;
  }
  struct stat status;
  char *const path = ::realpath(request.program.c_str(), nullptr);
  if (!path)
    return false;
  hash.addText("file " + std::string(path));
  const bool isThere = ::stat(path, &status) == 0;
  std::free(path);
  std::ostringstream text;
  text << status.st_size << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec;
  hash.addText(text.str());
  return isThere;
}

// Where a file name may begin in an argument: at its start, or behind the first "=" or ":".
std::vector<std::size_t> nameBegins(const std::string &argument) {
  std::vector<std::size_t> result = {0};
  for (const char separator : {'=', ':'}) {
    const std::size_t place = argument.find(separator);
    if (place != std::string::npos)
      result.push_back(place + 1);
  }
  return result;
}

bool addArgument(KeyHash &hash, const std::string &argument,
                 const std::vector<std::string> &goalFiles) {
  for (const std::size_t begin : nameBegins(argument)) {
    const std::string name = argument.substr(begin);
    const auto goal = std::find(goalFiles.begin(), goalFiles.end(), name);
    if (goal != goalFiles.end()) {
      hash.addText("goal " + std::to_string(goal - goalFiles.begin()));
      hash.addText(argument.substr(0, begin));
      return true; // its content is in the hash already
    }
    if (isRegularFile(name)) {
      hash.addText("file");
      hash.addText(argument);
      return addNamedFile(hash, name);
    }
  }
  hash.addText("text");
  hash.addText(argument);
  return true;
}

} // namespace

std::string locateProgram(const std::string &name) {
  const auto isProgram = [](const std::string &path) {
    return isRegularFile(path) && ::access(path.c_str(), X_OK) == 0;
  };
  if (name.find('/') != std::string::npos)
    return isProgram(name) ? name : std::string();
  const char *const path = std::getenv("PATH");
  std::istringstream directories(path ? path : "/usr/local/bin:/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
    if (isProgram(candidate))
      return candidate;
  }
  return {};
}

std::size_t proverIn(const std::vector<std::string> &command) {
  if (baseName(command.front()) != "kelvarune-limit")
    return 0;
  const auto end = std::find(command.begin(), command.end(), "--");
  const auto begin = command.end() - end > 1 ? end + 1 : command.begin();
  return static_cast<std::size_t>(begin - command.begin());
}

std::optional<QByteArray> keyOf(const request_t &request) {
  KeyHash hash;
  bool complete = addProver(hash, request);
  for (const std::string &file : request.goalFiles)
    complete = complete && addNamedFile(hash, file);
  hash.addText(std::to_string(request.arguments.size()));
  for (const std::string &argument : request.arguments)
    complete = complete && addArgument(hash, argument, request.goalFiles);
  if (request.standardInput >= 0)
    complete = complete &&
               hash.addFile(request.standardInput, ::lseek(request.standardInput, 0, SEEK_CUR));
  if (!complete)
    return std::nullopt;
  return hash.result();
}

} // namespace cache
