#include "program/Beside.h"

#include "output/Output.h"
#include "text/Literals.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

constexpr int NOT_RUN = 127;
constexpr int SIGNALLED = 128;

/// Leaves a signal to others as long as it lives, unless it is blocked.
class Ignored {
public:
  explicit Ignored(int number) : number(number) {
    ::sigaction(number, nullptr, &before);
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    struct sigaction ignore = before;
    ignore.sa_handler = SIG_IGN;
    if (::sigismember(&blocked, number) == 0)
      ::sigaction(number, &ignore, nullptr);
  }
  Ignored(const Ignored &) = delete;
  Ignored &operator=(const Ignored &) = delete;
  ~Ignored() { restore(); }

  void restore() const { ::sigaction(number, &before, nullptr); }

private:
  const int number;
  struct sigaction before = {};
};

[[noreturn]] void become(const std::string &path, const std::vector<char *> &words,
                         output_t output) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  const int null = output == output_t::HIDDEN ? ::open("/dev/null", O_WRONLY) : -1;
  if (null >= 0)
    ::dup2(null, STDOUT_FILENO);
  if (output == output_t::AS_ERRORS)
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
  ::execv(path.c_str(), words.data());
  ::_exit(NOT_RUN);
}

} // namespace

int runBeside(const std::string &name, const std::vector<std::string> &arguments, output_t output) {
  const std::string path = QCoreApplication::applicationDirPath().toStdString() + "/" + name;
  std::vector<std::string> words = {name};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char *> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string &word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);

  const Ignored interrupt(SIGINT);
  const Ignored quit(SIGQUIT);
  const pid_t child = ::fork();
  if (child == 0) {
    interrupt.restore();
    quit.restore();
    become(path, pointers, output);
  }
  int status = 0;
  while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (child > 0 && WIFEXITED(status) && WEXITSTATUS(status) != NOT_RUN)
    return WEXITSTATUS(status);
  if (child > 0 && WIFSIGNALED(status))
    return SIGNALLED + WTERMSIG(status);
  complain(QString::fromStdString(path) + ": cannot be run"_s);
  return -1;
}
