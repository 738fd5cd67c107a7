#ifndef KELVARUNE_TOOLS_COMMON_WRAPPER_COMMANDLINE_H
#define KELVARUNE_TOOLS_COMMON_WRAPPER_COMMANDLINE_H

#include <QCommandLineParser>
#include <QString>

#include <string>
#include <vector>

namespace wrapper {

/// Reads the command line of a program that stands before a prover: the options of `parser`, which
/// end at the first word that is none, then the prover with its arguments, which become `command`
/// as they are. Prints help or version and ends the program when asked to. Returns what is wrong;
/// a null string for nothing.
QString parse(QCommandLineParser &parser, int argc, char **argv, std::vector<std::string> &command);

} // namespace wrapper

#endif
