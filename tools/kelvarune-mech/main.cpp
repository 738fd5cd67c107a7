// kelvarune-mech: descriptions of proof mechanisms. What is wrong with them is known by the
// library; this program finds the places and the words, runs the tools once, and writes new
// descriptions.

#include "Commands.h"
#include "Options.h"
#include "output/Output.h"
#include "process/StartUp.h"
#include "text/Literals.h"

#include <QCoreApplication>

#include <signal.h>

using namespace kelvarune;

int main(int argc, char **argv) {
  process::startUp();
  ::signal(SIGPIPE, SIG_DFL); // also where the caller ignores it
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("kelvarune-mech"_s);
  QCoreApplication::setApplicationVersion(QStringLiteral(KELVARUNE_VERSION));

  using commandline::parse_t;
  options_t options;
  switch (parseOptions(QCoreApplication::arguments(), options)) {
  case parse_t::DONE:
    return EXIT_DONE;
  case parse_t::REFUSED:
    return EXIT_REFUSED;
  case parse_t::RUN:
    break;
  }
  return options.command == "new"_s ? commands::makeNew(options) : commands::check(options);
}
