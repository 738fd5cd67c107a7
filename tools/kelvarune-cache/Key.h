#ifndef KELVARUNE_CACHE_KEY_H
#define KELVARUNE_CACHE_KEY_H

#include <QByteArray>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cache {

/// What decides a prover's answer, as far as it can be seen from outside.
struct request_t {
  std::string program;                ///< the prover's file, found already
  std::vector<std::string> arguments; ///< the prover's arguments, without the program word
  std::string versionText;            ///< stands for the prover's file when not empty
  std::vector<std::string> goalFiles; ///< files whose content counts, but not their names
  int standardInput = -1;             ///< descriptor of a seekable file, -1 for none
};

/// The path of a program that is named as on a command line: looked up in PATH when the name has no
/// slash. Empty when there is no such executable file.
std::string locateProgram(const std::string &name);

/// Where in a command the prover's words begin: behind kelvarune-limit and its "--". Limits are no
/// part of a question, as an answer that they cut short is not definite.
std::size_t proverIn(const std::vector<std::string> &command);

/// The SHA-256 of a request, in hexadecimal; nothing when a goal file or the prover cannot be read.
///
/// Arguments count with their text. One that names a regular file, by itself or behind a "=" or
/// ":", counts with the file's content too, so that no goal is ever taken for another one that had
/// the same file name. For a goal file the content replaces the name.
///
/// Standard input counts from its present position, which does not move.
std::optional<QByteArray> keyOf(const request_t &request);

} // namespace cache

#endif
