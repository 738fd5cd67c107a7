// Files that are written whole, and input that is read to its end: who stops reading while the
// prover prints kills it by a broken pipe.

#include "Output.h"

#include "CommandLine.h"
#include "file/Descriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace kelvarune::provers {

namespace {

constexpr std::string_view BLANKS = " \t\r\n\f\v";
constexpr std::size_t LONGEST_ANSWER = 1 << 16;

bool writeWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR)
      return false;
    bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
  }
  return true;
}

} // namespace

void writeFile(const std::string &path, const std::vector<std::string> &parts) {
  const file::Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  bool done = file.isOpen();
  for (std::size_t i = 0; i < parts.size() && done; ++i)
    done = writeWhole(file.get(), parts[i]);
  if (done)
    return;
  const std::string reason = std::strerror(errno);
  if (file.isOpen())
    ::unlink(path.c_str());
  throw Refusal("cannot write " + path + ": " + reason);
}

bool readLines(const std::function<bool()> &whole,
               const std::function<void(std::string_view)> &take) {
  std::string line;
  std::string block(1 << 16, '\0');
  const auto append = [&](std::string_view part) {
    if (!whole() && line.size() + part.size() > LONGEST_ANSWER)
      part = part.substr(0, LONGEST_ANSWER - std::min(line.size(), LONGEST_ANSWER));
    line.append(part);
  };
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, block.data(), block.size());
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0) {
      if (!line.empty())
        take(line);
      return count == 0;
    }
    std::string_view rest(block.data(), static_cast<std::size_t>(count));
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
      append(rest.substr(0, end));
      take(line);
      line.clear();
      rest.remove_prefix(end + 1);
    }
    append(rest);
  }
}

void readingAll(const std::function<void()> &work) {
  try {
    work();
  } catch (const Refusal &) {
    readLines([] { return false; }, [](std::string_view) {});
    throw;
  }
}

std::string_view stripped(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(BLANKS);
  if (begin == std::string_view::npos)
    return {};
  return text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (text = stripped(text); !text.empty();) {
    const std::size_t end = std::min(text.find_first_of(BLANKS), text.size());
    words.push_back(text.substr(0, end));
    text = stripped(text.substr(end));
  }
  return words;
}

void print(const std::string &text) {
  if (!writeWhole(STDOUT_FILENO, text))
    throw Refusal(std::string("cannot write the verdicts: ") + std::strerror(errno));
}

} // namespace kelvarune::provers
