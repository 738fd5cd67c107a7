// A prover that reads its file itself has a standard input on which nothing ever comes. In a shell
// the next best is one that ends at once, rather than the terminal.

#include "Commands.h"

#include "shell/Quoting.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

QString lineOf(const command_t &command) {
  return shellQuoted(QStringList(QString::fromStdString(command.program.native())) +
                     command.arguments);
}

} // namespace

QStringList linesOf(const chain_t &chain) {
  const bool fromInput = chain.input == mechanism::input_t::STDIN;
  const QString input = fromInput ? shellQuoted(chain.secondaryFile) : "/dev/null"_s;
  return {lineOf(chain.writer),
          lineOf(chain.prover) + " <"_s + input + " | "_s + lineOf(chain.reader)};
}
