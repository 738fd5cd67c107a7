// Writes a description as a person would, with what each setting means beside it, and then checks
// it as `check` does.

#include "Commands.h"
#include "file/Io.h"
#include "mechanism/Mechanism.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

using namespace kelvarune;

namespace {

// None of them holds two hyphens in a row, which would end a comment.
const char *const HEAD = R"(<?xml version="1.0" encoding="UTF-8"?>
<!--
  kelvarune-mechanism(5) explains all elements and attributes; kelvarune-mech finds mistakes.

  trust       what a proof of this mechanism makes of a goal.
              always: "Proved".  redundancy: "Proved" by two drivers, "UnreliablyProved" by one.
              never: "UnreliablyProved".
-->
)";
const char *const DRIVER_HELP = R"(  <!--
    group     none: a file for each goal.  related: for the goals of an obligation.  full: for all.
    ext       how the files end.
    fast      true: the driver is also played when only fast ones are.
  -->
)";
const char *const WRITER_HELP =
    R"(    <!-- Is called with -a I J for each goal, -i POG, -o FILE, and then its parameters. A path
         without a leading / is looked for in the installation directories. -->
)";
const char *const PROVER_HELP =
    R"(    <!-- input    stdin: the file is the standard input.  file: only ${file} in a parameter tells it.
         timeout  what stands for ${timeout} in values of parameters, and nothing else. -->
)";
const char *const READER_HELP =
    R"(    <!-- Gets what the prover prints, and prints a line for each goal: Proved, Unknown or
         Disproved. Knows the file from ${file} in a parameter. -->
)";

QString attribute(const QString &name, const QString &value) {
  return " %1=\"%2\""_s.arg(name, value.toHtmlEscaped());
}

QString toolElement(const QString &role, const QStringList &command, const QString &attributes) {
  QString text = "    <"_s + role +
                 attribute(mechanism::ATTR_NAME, QFileInfo(command.first()).fileName()) +
                 attribute(mechanism::ATTR_PATH, command.first()) + attributes;
  if (command.size() == 1)
    return text + "/>\n"_s;
  text += ">\n"_s;
  for (const QString &word : command.mid(1))
    text += "      <param"_s + attribute(mechanism::ATTR_VALUE, word) + "/>\n"_s;
  return text + "    </"_s + role + ">\n"_s;
}

bool holds(const QStringList &words, const QString &text) {
  return words.mid(1).join(QLatin1Char('\n')).contains(text);
}

QString proverElement(const new_options_t &description, QStringList command) {
  const QString variable = "${file}"_s;
  const bool takesFile = holds(command, variable);
  const QString input =
      !description.input.isEmpty() ? description.input : (takesFile ? "file"_s : "stdin"_s);
  if (input == mechanism::ATTR_VALUE_FILE && !takesFile)
    command << variable;
  QString attributes = attribute(mechanism::ATTR_INPUT, input);
  if (holds(command, "${timeout}"_s))
    attributes += attribute(mechanism::ATTR_TIMEOUT,
                            description.timeout.isEmpty() ? "10"_s : description.timeout);
  return toolElement(mechanism::TAG_PROVER, command, attributes);
}

QString textOf(const new_options_t &description) {
  QString text = QLatin1String(HEAD) + "<mechanism"_s +
                 attribute(mechanism::ATTR_TRUST, description.trust) + ">\n"_s;
  for (std::size_t i = 0; i < description.provers.size(); ++i) {
    const auto explain = [&](const char *lines) { // once, where it comes first
      if (i == 0)
        text += QLatin1String(lines);
    };
    explain(DRIVER_HELP);
    text += "  <driver"_s +
            attribute(mechanism::ATTR_NAME, description.drivers.at(static_cast<int>(i))) +
            attribute(mechanism::ATTR_GROUP, description.group) +
            attribute(mechanism::ATTR_EXT, description.ext) +
            attribute(mechanism::ATTR_FAST, description.fast ? "true"_s : "false"_s) + ">\n"_s;
    explain(WRITER_HELP);
    text += toolElement(mechanism::TAG_WRITER, description.writer, {});
    explain(PROVER_HELP);
    text += proverElement(description, description.provers[i]);
    explain(READER_HELP);
    text += toolElement(mechanism::TAG_READER, description.reader, {});
    text += "  </driver>\n"_s;
  }
  return text + "</mechanism>\n"_s;
}

bool write(const new_options_t &description) {
  const int others = description.force ? O_TRUNC : O_EXCL;
  const file::Descriptor file =
      file::openFile(description.path.toStdString(), O_WRONLY | O_CREAT | others, 0666);
  if (file.isOpen() && file::writeAll(file.get(), textOf(description).toUtf8()))
    return true;
  const bool exists = !file.isOpen() && errno == EEXIST;
  complain(description.path +
           (exists ? ": exists; --force writes over it"_s
                   : ": cannot be written: "_s + QString::fromLocal8Bit(std::strerror(errno))));
  return false;
}

} // namespace

int commands::makeNew(const options_t &options) {
  const QString &path = options.description.path;
  if (!write(options.description) || !printOut((path + ": written\n"_s).toUtf8()))
    return EXIT_REFUSED;
  options_t checking = options;
  checking.paths = QStringList(path);
  return check(checking);
}
