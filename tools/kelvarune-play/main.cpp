// kelvarune-play: first proofs. It registers mechanisms in a POS file and plays their drivers,
// where kelvarune only replays what is registered. The director does the work and writes the
// output; this program checks the inputs first, tells what went wrong, and gives the outcome by its
// exit status.

#include "Checks.h"
#include "Limits.h"
#include "Options.h"
#include "Part.h"
#include "Project.h"
#include "Reference.h"
#include "Registered.h"
#include "Run.h"
#include "Shard.h"
#include "SideBySide.h"
#include "Sources.h"
#include "StatusLine.h"
#include "Workspace.h"
#include "director/StopOnSignals.h"
#include "front/Waiting.h"
#include "jobserver/Slots.h"
#include "jobserver/Tokens.h"
#include "output/Output.h"
#include "process/Guardian.h"
#include "process/StandardStreams.h"
#include "process/StartUp.h"
#include "process/ToolProcess.h"
#include "resource/ResourceManager.h"
#include "text/Literals.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include <signal.h>
#include <unistd.h>

using namespace kelvarune;

namespace {

enum exit_status_t { EXIT_COMPLETED = 0, EXIT_UNUSABLE = 2, EXIT_SIGNALLED = 128 };

/// The signals that end a run: all that ask for it, but for a hang-up that the caller ignores, as
/// nohup does.
std::vector<int> stopSignals() {
  struct sigaction hangUp = {};
  ::sigaction(SIGHUP, nullptr, &hangUp);
  return hangUp.sa_handler == SIG_IGN ? std::vector<int>{SIGINT, SIGTERM}
                                      : std::vector<int>{SIGINT, SIGTERM, SIGHUP};
}

std::string makeFlags() {
  const char *flags = std::getenv("MAKEFLAGS");
  return flags ? flags : "";
}

int endSignalled(int number, Workspace &workspace, jobserver::Tokens &tokens) {
  StatusLine::endAll();
  const bool areMany = stopSideBySide(number);
  tokens.giveBackAll();
  file::RunLock::releaseAll();
  workspace.remove();
  // A terminal has shown "^C", and perhaps half a line of results.
  const std::string lineBreak = ::isatty(STDERR_FILENO) && !areMany ? "\n" : "";
  const int status = EXIT_SIGNALLED + number;
  process::offerToStandardError(lineBreak + Run::lastWords(status));
  return status;
}

void tell(const QStringList &lines) {
  for (const QString &line : lines)
    complain(line);
}

void loadResources(const QStringList &files) {
  init_resource_manager();
  for (const QString &file : files) {
    load_resources(file.toUtf8().constData());
    if (has_unfinished_line(file.toUtf8().constData()))
      tell({file + ": the last line is not read; end it with a line break."_s});
  }
}

/// Makes sure that nobody else writes the POS file while this run does. False after telling who is
/// in the way.
bool takeTurn(const play_options_t &options, file::RunLock &lock) {
  if (!options.isRecorded() || options.dryRun)
    return true;
  const QString path = options.isShard() ? shardPath(options.posPath, options.shard, options.shards)
                                         : options.posPath;
  if (options.wait)
    lock = waitForFile(path.toStdString());
  else if (!takeFile(path.toStdString(), lock)) {
    complain(path + ": "_s + QString::fromStdString(lock.owner().text()) +
             " uses it; without --no-wait this run waits for its end."_s);
    return false;
  }
  return true;
}

/// Makes the copy on which a part is played, and lets the options name it.
bool takeShard(play_options_t &options) {
  if (!options.isShard() || options.dryRun)
    return true;
  const QString copy = shardPath(options.posPath, options.shard, options.shards);
  const QString fault = copyForShard(options.posPath, copy);
  if (!fault.isEmpty())
    complain(fault);
  options.posPath = copy;
  return fault.isEmpty();
}

/// Checks the inputs and reads them. False after telling what cannot be used.
bool getReady(play_options_t &options, inputs_t &inputs, file::RunLock &lock) {
  QStringList faults = faultsOfFiles(options);
  tell(faults);
  if (!faults.isEmpty() || !takeTurn(options, lock))
    return false;
  loadResources(options.resources);
  faults = faultsOfContents(options, inputs);
  tell(faults);
  if (!faults.isEmpty())
    return false;
  tell(oddities(options, inputs));
  return true;
}

plan_t planFor(const play_options_t &options, const inputs_t &inputs) {
  plan_t plan;
  plan.options = options;
  plan.choice.goals = inputs.goals;
  plan.choice.record = options.isRecorded();
  plan.choice.addDrivers = true;
  plan.choice.shard = options.shard;
  plan.choice.shards = options.shards;
  plan.choice.retry = options.retry;
  plan.choice.keepSecondaryFiles = options.explain;
  plan.choice.proverWrapper = wrappingCommand(options);
  plan.choice.quiet = true; // the summary tells the failures
  if (options.replay)
    plan.reference = goalsWithProofs(options.against.isEmpty() ? inputs.document : inputs.against,
                                     inputs.mechanisms, options);
  else if (!options.retry && !options.isForSomeGoals())
    plan.leftUnknown = leftUnknown(inputs.document, inputs.mechanisms);
  return plan;
}

/// Chooses the directory for the secondary files and makes those that the run needs. False after
/// telling which cannot be made.
bool makeDirectories(plan_t &plan, Workspace &workspace) {
  const play_options_t &options = plan.options;
  const QString parent = options.directory.isEmpty() ? QDir::tempPath() : options.directory;
  plan.directory = parent;
  if (options.dryRun) {
    if (options.directory.isEmpty())
      plan.directory += "/kelvarune-play-XXXXXX"_s;
    return true;
  }
  // Commands in a log can be repeated only if there still is a place for their files.
  const bool isLogged = !options.log.isEmpty();
  const QString besideLogs = options.log + "/secondary"_s;
  if (isLogged && !QDir().mkpath(options.directory.isEmpty() ? besideLogs : options.log)) {
    complain(options.log + ": cannot be created; --log names a directory."_s);
    return false;
  }
  plan.isPrivate = options.explain || !isLogged;
  if (plan.isPrivate)
    plan.directory = workspace.create(parent, options.explain);
  else if (options.directory.isEmpty())
    plan.directory = besideLogs;
  if (plan.directory.isEmpty())
    complain(parent + ": no directory can be created there; name another by --directory."_s);
  return !plan.directory.isEmpty();
}

jobserver::Tokens tokensOfMake() {
  return jobserver::Tokens(jobserver::serverIn(makeFlags()));
}

/// Whatever ends this program: its tokens are given back.
process::Guardian::duty_t dutyFor(jobserver::Tokens &tokens) {
  if (!tokens.areThere())
    return {};
  return {tokens.writeEnd(), [&tokens](int descriptor) { tokens.giveBackAllTo(descriptor); }};
}

bool isOfMake(const jobserver::Tokens &tokens) {
  return tokens.of().form != jobserver::server_t::form_t::NONE;
}

/// Whether the make that has started this program shares its budget; false after telling why not.
bool isShared(const jobserver::Tokens &tokens) {
  if (!tokens.areThere())
    complain("MAKEFLAGS names a jobserver that is not there; a \"+\" before the command in the "
             "Makefile hands it on."_s);
  return tokens.areThere();
}

/// Lets the run share the budget of a make that has started it, unless it has a number of its own.
void joinMake(const jobserver::Tokens &tokens, jobserver::Slots &slots, plan_t &plan) {
  play_options_t &options = plan.options;
  const jobserver::server_t &server = tokens.of();
  if (options.hasJobs || !isOfMake(tokens) || !isShared(tokens))
    return;
  options.concurrency =
      tokens.jobs() > 0 ? tokens.jobs() : std::max(1U, std::thread::hardware_concurrency());
  plan.slots = &slots;
  process::letToolsInherit({server.readEnd, server.writeEnd});
}

/// Reads the command line of a project's first component, which shows what is wrong with the
/// options of all. A make's budget goes before the jobs of the project file.
bool parseFirst(const project_plan_t &project, const jobserver::Tokens &tokens,
                play_options_t &options) {
  QStringList words = QStringList("kelvarune-play"_s) + project.parts.front().arguments;
  if (project.hasJobs || !isOfMake(tokens))
    words << "--concurrency="_s + project.jobs;
  project_request_t none;
  return parseOptions(words, options, none) == command_line_t::COMPONENT;
}

/// Plays several components, with the options that parseFirst has read.
int playAll(const project_plan_t &project, const play_options_t &options,
            jobserver::Tokens &tokens) {
  if (options.dryRun)
    return tellParts(project.parts);
  if (!project.hasJobs && isOfMake(tokens) && isShared(tokens))
    return playSideBySide(project.parts, tokens);
  jobserver::Tokens own = jobserver::Tokens::serve(options.concurrency);
  return playSideBySide(project.parts, own);
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  Part part = Part::fromStarter();
  jobserver::Tokens tokens = tokensOfMake(); // before descriptors get the numbers of missing ones
  const process::Guardian guardian(dutyFor(tokens));
  jobserver::Slots slots(tokens);
  Workspace workspace;
  StopOnSignals stopOnSignals(stopSignals(),
                              [&](int number) { return endSignalled(number, workspace, tokens); });
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("kelvarune-play"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  file::RunLock lock; // until the end
  plan_t plan;
  {
    play_options_t options;
    inputs_t inputs;
    project_request_t request;
    const command_line_t asked = parseOptions(QCoreApplication::arguments(), options, request);
    if (asked == command_line_t::REFUSED)
      return EXIT_UNUSABLE;
    if (jobserver::isDryRun(makeFlags())) // make tells the command itself
      return EXIT_COMPLETED;
    if (asked == command_line_t::PROJECT) {
      const std::optional<project_plan_t> project = planOf(request);
      if (!project || !parseFirst(*project, tokens, options))
        return EXIT_UNUSABLE;
      if (project->parts.size() > 1)
        return playAll(*project, options, tokens);
    }
    if (const std::optional<int> status = bringInStep(options))
      return *status;
    if (!getReady(options, inputs, lock))
      return EXIT_UNUSABLE;
    plan = planFor(options, inputs);
    plan.part = &part;
  }
  if (!makeDirectories(plan, workspace) || !takeShard(plan.options))
    return EXIT_UNUSABLE;
  joinMake(tokens, slots, plan);
  Run run(plan);
  if (!plan.options.dryRun)
    return run.play(stopOnSignals);
  run.tellOnly();
  return EXIT_COMPLETED;
}
