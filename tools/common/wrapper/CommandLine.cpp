// The prover's words are taken from the original command line: decoding them into text and back
// would change arguments that are no text. The application object of Qt takes a fifth of the time
// to start, and only the help needs one.

#include "wrapper/CommandLine.h"

#include "text/Literals.h"

#include <QCoreApplication>

#include <cstdlib>

using namespace kelvarune;

namespace wrapper {

QString parse(QCommandLineParser &parser, int argc, char **argv,
              std::vector<std::string> &command) {
  parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
  parser.addOption({{"h"_s, "help"_s}, "Show this help."_s}); // Qt's adds --help-all
  parser.addVersionOption();
  parser.addPositionalArgument("prover"_s, "The prover, with its arguments."_s,
                               "[--] prover [argument...]"_s);
  QStringList words;
  for (int i = 0; i < argc; ++i)
    words.append(QString::fromUtf8(argv[i]));
  if (!parser.parse(words))
    return parser.errorText();
  if (parser.isSet("help"_s) || parser.isSet("version"_s)) {
    int one = 1; // the words after the first are none of Qt's
    const QCoreApplication application(one, argv);
    if (parser.isSet("help"_s))
      parser.showHelp(EXIT_SUCCESS);
    parser.showVersion();
  }
  command.assign(argv + argc - parser.positionalArguments().size(), argv + argc);
  return QString();
}

} // namespace wrapper
