// The command line. Five long options declare their value as optional but cannot do without it;
// such an option without "=value" ends the program there and then: only resource files named before
// it have been loaded.

#include "front/Options.h"

#include "resource/ResourceManager.h"

#include <cstdlib>
#include <iostream>
#include <limits>

#include <getopt.h>

namespace {

const option LONG_OPTIONS[] = {{"resources", required_argument, nullptr, 'r'},
                               {"installdir", optional_argument, nullptr, 'i'},
                               {"mechanism", optional_argument, nullptr, 'm'},
                               {"mechanism-directory", optional_argument, nullptr, 'M'},
                               {"directory", required_argument, nullptr, 'd'},
                               {"pos", required_argument, nullptr, 's'},
                               {"pog", required_argument, nullptr, 'p'},
                               {"concurrency", optional_argument, nullptr, 'c'},
                               {"trace", optional_argument, nullptr, 't'},
                               {"xml", no_argument, nullptr, 'x'},
                               {"help", no_argument, nullptr, 'h'},
                               {nullptr, 0, nullptr, 0}};

const char *valueOrAbort() {
  if (!optarg)
    std::abort();
  return optarg;
}

// strtol's reading of a number; what an int cannot hold becomes the nearest int.
int integerOf(const char *text) {
  const long value = std::strtol(text, nullptr, 10);
  if (value > std::numeric_limits<int>::max())
    return std::numeric_limits<int>::max();
  if (value < std::numeric_limits<int>::min())
    return std::numeric_limits<int>::min();
  return static_cast<int>(value);
}

} // namespace

bool parseOptions(int argc, char **argv, options_t &options) {
  for (;;) {
    switch (::getopt_long(argc, argv, "r:i:m:M:d:s:p:c:t:xh", LONG_OPTIONS, nullptr)) {
    case -1:
      return true;
    case 'r':
      load_resources(optarg, nullptr, nullptr);
      break;
    case 'i':
      options.installDirs.emplace_back(valueOrAbort());
      break;
    case 'm':
      options.mechanismFile = valueOrAbort();
      break;
    case 'M':
      options.mechanismDirectory = valueOrAbort();
      break;
    case 'd':
      options.directory = optarg;
      break;
    case 's':
      options.posPath = optarg;
      break;
    case 'p':
      options.pogPath = optarg;
      break;
    case 'c':
      options.concurrency = integerOf(valueOrAbort());
      break;
    case 't':
      options.trace = integerOf(valueOrAbort());
      break;
    case 'x':
      options.xml = true;
      break;
    default:
      return false;
    }
  }
}

bool isUsable(const options_t &options) {
  return !options.directory.empty() && !options.posPath.empty() && !options.pogPath.empty() &&
         options.mechanismFile.empty() != options.mechanismDirectory.empty() &&
         options.concurrency >= 1;
}

void printHelpText() {
  std::cout << "kelvarune -i tooldir -r resources (-m mech.xml | -M dir) -s comp.pos -p comp.pog"
               " -d bdp/mech [-h]\n"
               "\t-r, --resources=FILE\n"
               "\t\tResource file\n"
               "\t-i, --installdir=DIR\n"
               "\t\tTools installation directory (optional, may be repeated)\n"
               "\t-m, --mechanism=FILE\n"
               "\t\tFile with proof mechanism description\n"
               "\t-M, --mechanism-directory=DIR\n"
               "\t\tDirectory with proof mechanism descriptions\n"
               "\t-s,  --pos=FILE\n"
               "\t\tFile with proof obligation statuses\n"
               "\t-p, --pog=FILE\n"
               "\t\tFile with proof obligations\n"
               "\t-d,  --directory=DIRECTORY\n"
               "\t\tDirectory for temporary files\n"
               "\t-h, --help\n"
               "\t\tPrints this and exits with error code\n"
            << std::flush;
}
