// Starts the subcommand that the command line names.

#include "Commands.h"
#include "Options.h"
#include "Paths.h"
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
      {"import"_s, commands::import}, {"sync"_s, commands::sync},
      {"list"_s, commands::list},     {"digests"_s, commands::digests},
      {"show"_s, commands::show},     {"export"_s, commands::exportGoals},
      {"prove"_s, commands::prove}};
  return table.at(options.command)(options);
}

QStringList argumentsOf(int argc, char **argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i)
    arguments.append(paths::textOf(argv[i]));
  return arguments;
}

} // namespace

int main(int argc, char **argv) {
  process::startUp();
  ::signal(SIGPIPE, SIG_DFL); // also where the caller ignores it
  const QStringList arguments = argumentsOf(argc, argv);
  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("kelvarune-goals"_s);
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
