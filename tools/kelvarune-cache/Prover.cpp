// The prover stays in the wrapper's session and process group, so that whoever ends those ends it
// too. Its output is passed on block by block; the wrapper has ended only when the prover has, and
// waits no longer than a moment for others that hold the prover's output open: their caller would
// not wait for them either, had it started the prover itself.

#include "kelvarune-cache/Prover.h"

#include "file/Io.h"
#include "process/PipeReader.h"
#include "process/ToolProcess.h"
#include "wrapper/Ending.h"

#include <cerrno>

#include <poll.h>
#include <signal.h>

using namespace kelvarune;

namespace cache {

namespace {

constexpr int LINGER_MS = 1000; // after the prover's end, for what its children still write

std::vector<char *> pointersTo(const std::vector<std::string> &words) {
  std::vector<char *> pointers;
  pointers.reserve(words.size() + 1);
  for (const std::string &word : words)
    pointers.push_back(const_cast<char *>(word.c_str())); // NOLINT: exec changes nothing
  pointers.push_back(nullptr);
  return pointers;
}

void useAsInput(int standardInput) {
  const int fd = standardInput < 0 ? ::open("/dev/null", O_RDONLY) : standardInput;
  if (fd != STDIN_FILENO)
    ::dup2(fd, STDIN_FILENO);
}

} // namespace

end_t runProver(const std::string &program, const std::vector<std::string> &words,
                int standardInput, Answer &answer) {
  file::pipe_t pipe = file::makePipe();
  if (!pipe.readEnd.isOpen())
    return {};
  process::PipeReader output(std::move(pipe.readEnd), [&](const char *bytes, std::size_t size) {
    answer.append(bytes, static_cast<qint64>(size));
    if (!file::writeAll(STDOUT_FILENO, bytes, size))
      ::_exit(wrapper::STATUS_OWN_FAILURE); // the kernel ends the prover
  });

  end_t end;
  process::ToolProcess prover;
  end.started = prover.start({program, words, standardInput, pipe.writeEnd.get(), STDERR_FILENO,
                              process::place_t::CALLERS_SESSION});
  pipe.writeEnd.reset();
  if (!end.started) {
    end.started = prover.runError() != 0; // a program that cannot be run has ended, as in a shell
    end.status = wrapper::statusOfError(prover.runError());
    return end;
  }
  prover.waitForEnd({&output});
  pollfd readable = {output.descriptor(), POLLIN, 0};
  while (output.descriptor() >= 0 && ::poll(&readable, 1, LINGER_MS) != 0)
    output.readSome();
  end.complete = output.descriptor() < 0;
  end.signal = prover.endSignal();
  end.status = prover.exitStatus();
  return end;
}

int becomeProver(const std::string &program, const std::vector<std::string> &words,
                 int standardInput) {
  useAsInput(standardInput);
  ::signal(SIGXFSZ, SIG_DFL); // which startUp ignores
  ::execvp(program.c_str(), pointersTo(words).data());
  return wrapper::statusOfError(errno);
}

} // namespace cache
