// Command lines as the mechanisms' tools have them.

#include "CommandLine.h"

#include <cstdio>

namespace kelvarune::provers {

int runTool(const char *name, const char *help, int argc, char **argv,
            const std::function<void(Words &)> &run) {
  if (argc == 2 && (std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h"))
    return std::fputs(help, stdout) < 0 || std::fflush(stdout) != 0 ? STATUS_FAILED : 0;
  if (argc == 2 && std::string_view(argv[1]) == "--version")
    return std::printf("%s %s\n", name, KELVARUNE_VERSION) < 0 ? STATUS_FAILED : 0;
  try {
    Words words(argc, argv);
    run(words);
    return 0;
  } catch (const Refusal &refusal) {
    std::fprintf(stderr, "%s: %s\n", name, refusal.what());
    return refusal.status;
  } catch (const std::bad_alloc &) {
    std::fprintf(stderr, "%s: not enough memory\n", name);
    return STATUS_FAILED;
  }
}

bool Words::next() {
  if (at == words.size())
    return false;
  current = words[at++];
  const std::size_t equals = current.find('=');
  hasAttached = current.compare(0, 2, "--") == 0 && equals != std::string::npos;
  if (hasAttached) {
    attached = current.substr(equals + 1);
    current.resize(equals);
  }
  return true;
}

std::string Words::value() {
  if (hasAttached) {
    hasAttached = false;
    return attached;
  }
  if (at == words.size())
    throw Refusal(current + " needs a value", STATUS_USAGE);
  return words[at++];
}

void Words::refuseName() const {
  throw Refusal("unknown argument " + current, STATUS_USAGE);
}

std::vector<std::string> splitAtCommas(const std::string &text) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == ',')
      parts.emplace_back();
    else
      parts.back().push_back(c);
  }
  return parts;
}

} // namespace kelvarune::provers
