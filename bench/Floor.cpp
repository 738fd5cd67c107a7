// The least that a run can cost: the same three processes per entry, started in the cheapest way
// from a small program, and the status file replaced with the care that kelvarune promises. It
// knows nothing of the file but its bytes, which it writes as they are. Built a second time, as
// bench-truncating, it truncates the file and writes it anew without any care.
//
// Prints how often it got each verdict and the wall seconds that the entries took.

#include "Component.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void check(bool success, const std::string &what) {
  if (!success)
    throw std::system_error(errno, std::generic_category(), what);
}

/// What a child gets as its standard input and output; -1 keeps the parent's.
struct streams_t {
  int input = -1;
  int output = -1;
};

pid_t start(const std::string &program, const std::vector<std::string> &arguments,
            const streams_t &streams) {
  std::vector<char *> argv = {const_cast<char *>(program.c_str())}; // NOLINT: as exec takes them
  for (const std::string &argument : arguments)
    argv.push_back(const_cast<char *>(argument.c_str())); // NOLINT
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  if (streams.input >= 0)
    ::posix_spawn_file_actions_adddup2(&actions, streams.input, STDIN_FILENO);
  if (streams.output >= 0)
    ::posix_spawn_file_actions_adddup2(&actions, streams.output, STDOUT_FILENO);
  pid_t pid = 0;
  errno = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  check(errno == 0, program);
  return pid;
}

void await(pid_t pid, const std::string &program) {
  int status = 0;
  check(::waitpid(pid, &status, 0) == pid, program);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error(program + " failed");
}

std::string readAll(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t size = 0; (size = ::read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(size));
  return text;
}

void runWriter(const bench::component_t &component, std::size_t entry) {
  const std::string writer = component.toolPath("writer");
  await(start(writer, component.writerArguments(entry), {}), writer);
}

std::string runChain(const bench::component_t &component, std::size_t entry) {
  const std::string prover = component.toolPath("prover");
  const std::string reader = component.toolPath("reader");
  int chain[2];
  int results[2];
  const int input = ::open(component.secondaryFile(entry).c_str(), O_RDONLY | O_CLOEXEC);
  check(input >= 0, component.secondaryFile(entry));
  check(::pipe2(chain, O_CLOEXEC) == 0 && ::pipe2(results, O_CLOEXEC) == 0, "pipe");
  const pid_t proverPid = start(prover, {}, {input, chain[1]});
  const pid_t readerPid = start(reader, component.readerArguments, {chain[0], results[1]});
  for (const int fd : {input, chain[0], chain[1], results[1]})
    ::close(fd);
  const std::string verdicts = readAll(results[0]);
  ::close(results[0]);
  await(proverPid, prover);
  await(readerPid, reader);
  return verdicts;
}

void writeAll(int fd, const std::string &content, const std::string &path) {
  for (std::size_t at = 0; at < content.size();) {
    const ssize_t written = ::write(fd, content.data() + at, content.size() - at);
    check(written > 0, path);
    at += static_cast<std::size_t>(written);
  }
}

void replaceFile(const std::string &path, const std::string &content) {
  const std::string temporary = path + ".new";
  struct stat status;
  check(::stat(path.c_str(), &status) == 0, path);
  const int fd =
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  check(fd >= 0, temporary);
  if (status.st_uid != ::geteuid() || status.st_gid != ::getegid())
    check(::fchown(fd, status.st_uid, status.st_gid) == 0, temporary);
  check(::fchmod(fd, status.st_mode & 07777) == 0, temporary);
  writeAll(fd, content, temporary);
  check(::fdatasync(fd) == 0, temporary);
  ::close(fd);
  check(::rename(temporary.c_str(), path.c_str()) == 0, path);
}

void truncateFile(const std::string &path, const std::string &content) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  check(fd >= 0, path);
  writeAll(fd, content, path);
  ::close(fd);
}

std::string contentOf(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int run(int argc, char **argv) {
  const bench::component_t component = bench::componentOfArguments(argc, argv);
  const std::string content = contentOf(component.posPath());
  std::mutex resultMutex;
  std::map<std::string, unsigned long> counts;
  const double seconds = bench::runEntries(component, [&](std::size_t entry) {
    runWriter(component, entry);
    const std::string verdicts = runChain(component, entry);
    const std::lock_guard lock(resultMutex);
    for (const std::string &verdict : bench::linesOf(verdicts))
      ++counts[verdict];
    (BENCH_TRUNCATES ? truncateFile : replaceFile)(component.posPath(), content);
  });
  for (const auto &[verdict, count] : counts)
    std::cout << verdict << ' ' << count << '\n';
  std::cout << "seconds " << seconds << '\n';
  return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception &error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
