#ifndef KELVARUNE_FILE_DESCRIPTOR_H
#define KELVARUNE_FILE_DESCRIPTOR_H

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kelvarune::file {

/// Owns a file descriptor and closes it. Holds -1 when there is none.
class Descriptor {
public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(fd, other.fd);
    return *this;
  }
  ~Descriptor() { reset(); }

  int get() const { return fd; }
  bool isOpen() const { return fd >= 0; }
  void reset() {
    if (fd >= 0)
      ::close(std::exchange(fd, -1));
  }

private:
  int fd = -1;
};

/// The two ends of a pipe, neither inherited by the programs that are started.
struct pipe_t {
  Descriptor readEnd;
  Descriptor writeEnd;
};

/// A new pipe; both ends are closed when the system has no descriptor left.
inline pipe_t makePipe() {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0)
    return {};
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

} // namespace kelvarune::file

#endif
