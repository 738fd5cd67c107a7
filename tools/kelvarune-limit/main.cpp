// Stands before a prover and ends it, with all that it has started, when it reaches a limit. A
// limit is no crash: the wrapper then exits, so that its caller still reads what the prover said
// before.
//
// The work is done by the supervisor. This process passes on the signals that ask for the end,
// tells the outcome and ends as the prover did.

#include "file/Io.h"
#include "kelvarune-limit/Options.h"
#include "kelvarune-limit/Outcome.h"
#include "kelvarune-limit/Supervisor.h"
#include "process/Offspring.h"
#include "process/StandardStreams.h"
#include "process/StartUp.h"
#include "text/Literals.h"
#include "wrapper/Ending.h"

#include <QCoreApplication>

#include <cerrno>
#include <chrono>

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

using limit::options_t;
using limit::outcome_t;

constexpr std::chrono::seconds PATIENCE(1);

void tell(const QString &what) {
  process::writeToStandardError("kelvarune-limit: " + what.toStdString() + '\n');
}

/// The signals that ask for the end, without those that the caller ignores, as nohup does.
sigset_t stopSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
      sigaddset(&set, number);
  }
  return set;
}

/// Nobody shall wait for the wrapper to close what only the prover uses.
void leaveStreamsToProver() {
  const file::Descriptor null = file::openFile("/dev/null", O_RDWR);
  ::dup2(null.get(), STDIN_FILENO);
  ::dup2(null.get(), STDOUT_FILENO);
}

/// Waits for the outcome and meanwhile passes signals on to the supervisor; `asked` becomes the
/// last of them. False when the supervisor ends without an outcome.
bool awaitOutcome(pid_t supervisor, int outcomes, int signals, outcome_t &outcome, int &asked) {
  pollfd watched[] = {{outcomes, POLLIN, 0}, {signals, POLLIN, 0}};
  while (::poll(watched, 2, -1) >= 0 || errno == EINTR) {
    signalfd_siginfo info;
    if (watched[1].revents && ::read(signals, &info, sizeof info) == sizeof info) {
      asked = static_cast<int>(info.ssi_signo);
      ::kill(supervisor, asked);
    }
    if (watched[0].revents)
      return file::readSome(outcomes, reinterpret_cast<char *>(&outcome), sizeof outcome) ==
             sizeof outcome;
  }
  return false;
}

[[noreturn]] void tellAndEnd(const outcome_t &outcome, const options_t &options,
                             const file::Descriptor &report) {
  const QString message = messageFor(outcome, options);
  if (!message.isEmpty())
    tell(message);
  if (report.isOpen() && !file::writeAll(report.get(), reportOf(outcome, options)))
    tell("cannot write "_s + options.report);
  endAs(outcome);
}

[[noreturn]] void runLimited(const options_t &options) {
  file::Descriptor report;
  if (!options.report.isEmpty()) {
    report = file::openFile(options.report.toStdString(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (!report.isOpen()) {
      tell("cannot write "_s + options.report);
      wrapper::endLike(0, wrapper::STATUS_OWN_FAILURE);
    }
  }
  file::pipe_t outcomes = file::makePipe();
  const sigset_t signals = stopSignals();
  sigset_t mask;
  ::sigprocmask(SIG_BLOCK, &signals, &mask);
  const file::Descriptor signalSource(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  process::offspring::adopt();
  const pid_t parent = ::getpid();
  const pid_t supervisor = outcomes.readEnd.isOpen() && signalSource.isOpen() ? ::fork() : -1;
  if (supervisor == 0) {
    outcomes.readEnd.reset();
    limit::supervise(options, std::move(outcomes.writeEnd), mask, parent);
  }
  outcome_t outcome; // not started, for want of room
  if (supervisor < 0)
    tellAndEnd(outcome, options, report);
  outcomes.writeEnd.reset();
  leaveStreamsToProver();

  int asked = 0;
  if (!awaitOutcome(supervisor, outcomes.readEnd.get(), signalSource.get(), outcome, asked)) {
    process::offspring::end(nullptr, {SIGTERM, options.grace, nullptr}, PATIENCE);
    outcome.end = limit::end_t::SIGNALLED; // by the kernel, when the supervisor was killed
    outcome.number = asked == 0 ? SIGKILL : asked;
  } else if (outcome.allGone) {
    ::waitpid(supervisor, nullptr, 0); // what it took counts as what this process took
  }
  tellAndEnd(outcome, options, report);
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  QCoreApplication::setApplicationName("kelvarune-limit"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  options_t options;
  if (!limit::parseOptions(argc, argv, options))
    return wrapper::STATUS_OWN_FAILURE;
  runLimited(options);
}
