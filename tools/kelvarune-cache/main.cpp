// Stands before a prover: repeats what it said to the same goals before, or runs it and keeps what
// it says when that is definite. Whatever the cache cannot do, the prover is run all the same, and
// ends the wrapper in the way in which it ended itself. Only where nothing may be run, a missing
// answer is a failure.

#include "file/Io.h"
#include "kelvarune-cache/Answer.h"
#include "kelvarune-cache/Key.h"
#include "kelvarune-cache/Options.h"
#include "kelvarune-cache/Prover.h"
#include "kelvarune-cache/Store.h"
#include "process/StartUp.h"
#include "text/Literals.h"
#include "wrapper/Ending.h"

#include <QCoreApplication>

#include <iostream>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

using cache::answer_t;
using cache::options_t;
using cache::policy_t;

constexpr double SECONDS_PER_DAY = 86400;

int fail(const std::string &message, int status = wrapper::STATUS_OWN_FAILURE) {
  std::cerr << "kelvarune-cache: " << message << std::endl;
  return status;
}

// Standard input as a file that can be read twice, once for the key and once by the prover: itself
// when it is a regular file, else a copy in memory. Not open when it cannot be had.
file::Descriptor seekableInput() {
  struct stat status;
  if (::fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode))
    return file::Descriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  file::Descriptor copy(::memfd_create("goals", MFD_CLOEXEC));
  char block[1 << 16];
  for (ssize_t count; (count = file::readSome(STDIN_FILENO, block, sizeof block)) != 0;) {
    if (count < 0 || !file::writeAll(copy.get(), block, static_cast<std::size_t>(count)))
      return {};
  }
  ::lseek(copy.get(), 0, SEEK_SET);
  return copy;
}

int runAndKeep(const options_t &options, const std::string &program, int standardInput,
               cache::Store &store, const QByteArray &key) {
  cache::Answer answer(options.patterns);
  const cache::end_t end = cache::runProver(program, options.command, standardInput, answer);
  if (!end.started)
    return fail("cannot run " + program, wrapper::STATUS_CANNOT_RUN);
  const bool endedWell = end.signal == 0 && end.complete && options.statuses.count(end.status) > 0;
  if (endedWell && answer.isDefinite()) {
    if (!store.keep(key, {answer.text(), end.status}))
      fail("cannot keep the answer in " + options.directory);
  } else if (options.mode == policy_t::REBUILD) {
    store.forget(key); // what was stored is not true of this run
  }
  wrapper::endLike(end.signal, end.status);
}

int repeat(const answer_t &answer) {
  return file::writeAll(STDOUT_FILENO, answer.output) ? answer.status : wrapper::STATUS_OWN_FAILURE;
}

int answerGoals(const options_t &options) {
  const std::string program = cache::locateProgram(options.command.front());
  if (program.empty())
    return fail("there is no program " + options.command.front(), wrapper::STATUS_NOT_FOUND);

  file::Descriptor input;
  if (options.readsStandardInput && options.mode == policy_t::NONE)
    input = file::Descriptor(::dup(STDIN_FILENO));
  else if (options.readsStandardInput && !(input = seekableInput()).isOpen())
    return fail("cannot read standard input");
  if (options.mode == policy_t::NONE)
    return cache::becomeProver(program, options.command, input.get());

  const auto begin = static_cast<std::ptrdiff_t>(cache::proverIn(options.command));
  const std::vector<std::string> words(options.command.begin() + begin, options.command.end());
  const std::optional<QByteArray> key =
      cache::keyOf({begin == 0 ? program : cache::locateProgram(words.front()),
                    {words.begin() + 1, words.end()},
                    options.versionText,
                    options.goalFiles,
                    input.get()});
  cache::Store store(options.directory, options.maxBytes);
  if (key && options.mode != policy_t::REBUILD) {
    if (const std::optional<answer_t> answer = store.find(*key)) {
      store.count(cache::outcome_t::HIT);
      return repeat(*answer);
    }
  }
  store.count(cache::outcome_t::MISS);
  if (options.mode == policy_t::OFFLINE)
    return fail("no answer is stored for these goals");
  if (!key || options.mode == policy_t::REPLAY)
    return cache::becomeProver(program, options.command, input.get());
  return runAndKeep(options, program, input.get(), store, *key);
}

int tellStats(const options_t &options) {
  const cache::Store store(options.directory, options.maxBytes);
  if (options.tellsStats) {
    const cache::stats_t stats = store.stats();
    std::cout << "hits " << stats.hits << "\nmisses " << stats.misses << "\nanswers "
              << stats.answers << "\nbytes " << stats.bytes << std::endl;
  }
  const bool done = !options.resetsCounts || store.resetCounts();
  return done ? EXIT_SUCCESS : fail("cannot reset the counts in " + options.directory);
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  QCoreApplication::setApplicationName("kelvarune-cache"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  options_t options;
  if (!cache::parseOptions(argc, argv, options))
    return wrapper::STATUS_OWN_FAILURE;
  if (options.tellsStats || options.resetsCounts)
    return tellStats(options);
  if (!options.command.empty())
    return answerGoals(options);
  cache::Store store(options.directory, options.maxBytes);
  return store.cleanUp(options.unusedDays * SECONDS_PER_DAY)
             ? EXIT_SUCCESS
             : fail("cannot clean up " + options.directory);
}
