// Knows nothing of kelvarune or Qt: loads the plug-in and plays one mechanism with it.
//
//   host PLUGIN MECHANISM POS POG WORKDIR TOOLS

#include <iostream>

#include <dlfcn.h>

int main(int argc, char **argv) {
  using play_t = long (*)(const char *, const char *, const char *, const char *, const char *);
  void *const plugin = argc == 7 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  const auto play = plugin ? reinterpret_cast<play_t>(dlsym(plugin, "play_mechanism")) : nullptr;
  if (!play) {
    std::cerr << "host: " << (argc == 7 ? dlerror() : "six arguments, please") << std::endl;
    return 1;
  }
  const long unproved = play(argv[2], argv[3], argv[4], argv[5], argv[6]);
  std::cerr << "host: " << unproved << " goals unproved" << std::endl;
  return unproved < 0 ? 1 : 0;
}
