// The words are separated by blanks; what follows a word "--" are variables, which may look like
// anything. The letters of options without values stand in the first word, which is empty where
// there are none.

#include "jobserver/MakeFlags.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace kelvarune::jobserver {

namespace {

constexpr const char *NAMES[] = {"--jobserver-auth=", "--jobserver-fds="};
constexpr char FIFO[] = "fifo:";

/// The words at blanks that no backslash precedes, as they are written.
std::vector<std::string> wordsOf(const std::string &text) {
  std::vector<std::string> words(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ') {
      words.emplace_back();
      continue;
    }
    words.back() += text[i];
    if (text[i] == '\\' && i + 1 < text.size())
      words.back() += text[++i];
  }
  return words;
}

bool startsWith(const std::string &text, const std::string &start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string withoutBackslashes(const std::string &word) {
  std::string text;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\\' && i + 1 < word.size())
      ++i;
    text += word[i];
  }
  return text;
}

/// Whether the word names a jobserver, which `value` then tells.
bool isServer(const std::string &word, std::string &value) {
  for (const std::string name : NAMES) {
    if (startsWith(word, name)) {
      value = withoutBackslashes(word.substr(name.size()));
      return true;
    }
  }
  return false;
}

bool isJobs(const std::string &word) {
  return startsWith(word, "-j");
}

void take(const std::string &value, server_t &server) {
  server.form = server_t::form_t::NONE;
  if (startsWith(value, FIFO)) {
    server.form = server_t::form_t::FIFO;
    server.path = value.substr(sizeof FIFO - 1);
  } else if (std::sscanf(value.c_str(), "%d,%d", &server.readEnd, &server.writeEnd) == 2) {
    server.form = server_t::form_t::PIPE;
  }
}

} // namespace

server_t serverIn(const std::string &makeFlags) {
  server_t server;
  for (const std::string &word : wordsOf(makeFlags)) {
    if (word == "--")
      break;
    std::string value;
    if (isServer(word, value))
      take(value, server);
    else if (isJobs(word))
      server.jobs = static_cast<unsigned int>(std::strtoul(word.c_str() + 2, nullptr, 10));
  }
  return server;
}

bool isDryRun(const std::string &makeFlags) {
  const std::string letters = wordsOf(makeFlags).front();
  return letters[0] != '-' && letters.find('=') == std::string::npos &&
         letters.find('n') != std::string::npos;
}

std::string withServer(const std::string &makeFlags, const server_t &server) {
  const std::string own = "-j" + std::to_string(server.jobs) + " " + NAMES[0] +
                          std::to_string(server.readEnd) + ',' + std::to_string(server.writeEnd);
  std::string options;
  std::string variables;
  bool isFirst = true;
  bool areVariables = false;
  for (const std::string &word : wordsOf(makeFlags)) {
    std::string value;
    areVariables = areVariables || word == "--";
    if (areVariables)
      variables += ' ' + word;
    else if (isFirst || (!word.empty() && !isJobs(word) && !isServer(word, value)))
      options += word + ' '; // the first stays even when it is empty
    isFirst = false;
  }
  return options + own + variables;
}

} // namespace kelvarune::jobserver
