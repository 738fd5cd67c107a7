#ifndef KELVARUNE_FRONT_OPTIONS_H
#define KELVARUNE_FRONT_OPTIONS_H

#include <string>
#include <vector>

/// What the command line asks for. Texts stand as they were given.
struct options_t {
  std::string directory;
  std::string mechanismFile;
  std::string mechanismDirectory;
  std::string posPath;
  std::string pogPath;
  std::vector<std::string> installDirs;
  bool xml = false;
  int concurrency = 1;
  int trace = 0;
};

/// Reads the command line; resource files are loaded as their options are met. False when the help
/// text is to be printed: it was asked for, or an option is unknown or lacks its value (getopt has
/// said so). Ends the program abnormally for a long option without the value that it needs.
bool parseOptions(int argc, char **argv, options_t &options);

/// Whether the options are complete and fit together.
bool isUsable(const options_t &options);

/// Prints the help text to standard output.
void printHelpText();

#endif
