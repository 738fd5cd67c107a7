// Several programs read from one pipe, so whoever is told that there is something to read may find
// it gone. Whether a descriptor then blocks is a property that all of them share, and some count on
// the one and some on the other. So the pipe is opened once more, which gives a descriptor of our
// own that never blocks.

#include "jobserver/Tokens.h"

#include "file/Io.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvarune::jobserver {

namespace {

constexpr char TOKEN = '+';
constexpr unsigned int MOST_JOBS = 4096; // what a pipe takes at least

/// Whether both are the ends of one pipe that is open.
bool arePipe(int readEnd, int writeEnd) {
  struct stat read = {};
  struct stat written = {};
  return ::fstat(readEnd, &read) == 0 && ::fstat(writeEnd, &written) == 0 &&
         S_ISFIFO(read.st_mode) && read.st_dev == written.st_dev && read.st_ino == written.st_ino &&
         (::fcntl(readEnd, F_GETFL) & O_ACCMODE) != O_WRONLY &&
         (::fcntl(writeEnd, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

bool isPipe(int descriptor) {
  struct stat status = {};
  return ::fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace

Tokens::Tokens(const server_t &given) : server(given) {
  if (server.form == server_t::form_t::FIFO) {
    reading = file::openFile(server.path, O_RDWR | O_NONBLOCK);
    if (!isPipe(reading.get()))
      reading.reset();
  } else if (server.form == server_t::form_t::PIPE) {
    openPipe();
  }
  keepRecord();
}

Tokens Tokens::serve(unsigned int wanted) {
  const unsigned int jobs = std::clamp(wanted, 1U, MOST_JOBS);
  Tokens tokens;
  int ends[2] = {-1, -1};
  if (::pipe(ends) != 0) // inherited by the programs that are started
    return tokens;
  tokens.ownEnds[0] = file::Descriptor(ends[0]);
  tokens.ownEnds[1] = file::Descriptor(ends[1]);
  tokens.server = {server_t::form_t::PIPE, ends[0], ends[1], std::string(), jobs};
  tokens.openPipe();
  tokens.keepRecord();
  if (!tokens.areThere() ||
      !file::writeAll(ends[1], std::string(jobs - 1, TOKEN).c_str(), jobs - 1))
    return Tokens();
  const char *flags = std::getenv("MAKEFLAGS");
  ::setenv("MAKEFLAGS", withServer(flags ? flags : "", tokens.server).c_str(), 1);
  return tokens;
}

void Tokens::openPipe() {
  if (arePipe(server.readEnd, server.writeEnd))
    reading =
        file::openFile("/proc/self/fd/" + std::to_string(server.readEnd), O_RDONLY | O_NONBLOCK);
}

void Tokens::keepRecord() {
  if (!reading.isOpen())
    return;
  void *memory =
      ::mmap(nullptr, sizeof(held_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  held = memory == MAP_FAILED ? nullptr : new (memory) held_t();
}

int Tokens::writeEnd() const {
  return server.form == server_t::form_t::FIFO ? reading.get() : server.writeEnd;
}

bool Tokens::take() {
  unsigned char token = 0;
  ssize_t size = -1;
  do
    size = areThere() ? ::read(reading.get(), &token, 1) : 0;
  while (size < 0 && errno == EINTR);
  if (size == 1)
    ++(*held)[token];
  return size == 1;
}

bool Tokens::giveBackTo(int descriptor) {
  if (!areThere())
    return false;
  for (std::size_t byte = 0; byte < held->size(); ++byte) {
    unsigned int count = (*held)[byte];
    while (count > 0 && !(*held)[byte].compare_exchange_weak(count, count - 1)) {
    }
    if (count > 0) {
      const char token = static_cast<char>(byte);
      return file::writeAll(descriptor, &token, 1);
    }
  }
  return false;
}

void Tokens::giveBackAllTo(int descriptor) {
  while (giveBackTo(descriptor)) {
  }
}

} // namespace kelvarune::jobserver
