// Starts the subcommand that the command line names.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "output/Output.h"
#include "process/StartUp.h"
#include "text/Literals.h"

#include <QCoreApplication>

#include <map>

#include <signal.h>

using namespace kelvarune;

namespace {

int run(const options_t &options) {
  static const std::map<QString, int (*)(const options_t &)> table = {
      {"init"_s, commands::init},       {"list"_s, commands::list},
      {"show"_s, commands::show},       {"stats"_s, commands::stats},
      {"goals"_s, commands::goals},     {"check"_s, commands::check},
      {"unprove"_s, commands::unprove}, {"remove"_s, commands::remove},
      {"restore"_s, commands::restore}, {"merge"_s, commands::merge},
      {"diff"_s, commands::diff},       {"report"_s, commands::report},
      {"history"_s, commands::history}, {"prune"_s, commands::prune},
      {"times"_s, commands::times},     {"advise"_s, commands::advise},
      {"flaky"_s, commands::flaky},     {"compare"_s, commands::compare}};
  return table.at(options.command)(options);
}

// As UTF-8 whatever the locale, since that is how the libraries take paths.
QStringList argumentsOf(int argc, char **argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i)
    arguments.append(QString::fromUtf8(argv[i]));
  return arguments;
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  ::signal(SIGPIPE, SIG_DFL); // also where the caller ignores it
  const QStringList arguments = argumentsOf(argc, argv);
  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("kelvarune-pos"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  using commandline::parse_t;
  options_t options;
  switch (parseOptions(arguments, options)) {
  case parse_t::DONE:
    return EXIT_DONE;
  case parse_t::REFUSED:
    return EXIT_REFUSED;
  case parse_t::RUN:
    break;
  }
  return run(options);
}
