// A pipe would have to be read for the play not to block, and a file would stay behind.

#include "Part.h"

#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

constexpr char VARIABLE[] = "KELVARUNE_PLAY_PART";

} // namespace

Part Part::make() {
  Part part;
  part.memory = file::Descriptor(::memfd_create("kelvarune-play", MFD_CLOEXEC));
  if (part.memory.isOpen() && ::ftruncate(part.memory.get(), sizeof(part_progress_t)) == 0)
    part.map();
  return part;
}

Part Part::fromStarter() {
  Part part;
  const char *value = std::getenv(VARIABLE);
  if (!value)
    return part;
  const int descriptor = std::atoi(value);
  ::unsetenv(VARIABLE);
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  struct stat status = {};
  if (descriptor > STDERR_FILENO && ::fstat(descriptor, &status) == 0 &&
      status.st_size == sizeof(part_progress_t)) {
    part.memory = file::Descriptor(descriptor);
    part.map();
  }
  return part;
}

Part::Part(Part &&other) noexcept
    : memory(std::move(other.memory)), shared(std::exchange(other.shared, nullptr)),
      pass(std::move(other.pass)) {}

Part &Part::operator=(Part &&other) noexcept {
  std::swap(memory, other.memory);
  std::swap(shared, other.shared);
  std::swap(pass, other.pass);
  return *this;
}

Part::~Part() {
  if (shared)
    ::munmap(shared, sizeof *shared);
}

void Part::map() {
  void *address =
      ::mmap(nullptr, sizeof(part_progress_t), PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
  shared = address == MAP_FAILED ? nullptr : static_cast<part_progress_t *>(address);
}

void Part::announce() const {
  ::setenv(VARIABLE, std::to_string(descriptor()).c_str(), 1);
}

void Part::tell(const progress_t &now) {
  if (!shared)
    return;
  if (now.driver != pass.driver || now.finished < pass.finished) // another pass
    pass = {};
  shared->known += static_cast<std::uint32_t>(now.total - pass.total);
  shared->finished += static_cast<std::uint32_t>(now.finished - pass.finished);
  shared->proved += static_cast<std::uint32_t>(now.proved - pass.proved);
  pass = now;
}
