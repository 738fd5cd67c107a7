// Resource files: two files are parsed over each other, changed at random and saved, and what was
// saved is parsed again. The objects point at each other in several ways, so the sanitizers are the
// judge here.

#include "FuzzSupport.h"
#include "resource/ResourceManager.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"

#include <sstream>
#include <vector>

namespace {

struct names_t {
  std::vector<std::string> tools = {"tool", "other", ""};
  std::vector<std::string> resources = {"path", "name", ""};
};

const std::string &anyOf(const std::vector<std::string> &words, std::mt19937 &choices) {
  return words[choices() % words.size()];
}

// The names that are there, beside some that may not be.
names_t presentNames() {
  names_t names;
  for (const auto *tool = get_resource_manager()->first_tool; tool;
       tool = static_cast<const T_resource_tool *>(tool->next)) {
    names.tools.emplace_back(tool->name.chars);
    for (const auto *resource = tool->first_resource; resource;
         resource = static_cast<const T_resource_ident *>(resource->next))
      names.resources.emplace_back(resource->name.chars);
  }
  return names;
}

void setAndLookUp(const std::string &tool, const std::string &name, const std::string &value) {
  set_resource(tool.c_str(), name.c_str(), value.c_str());
  const char *found = lookup_resource(tool.c_str(), name.c_str());
  require(found && value == found, "a value that was set is found");
}

void editOnce(const std::vector<std::string> &files, std::mt19937 &choices) {
  const names_t names = presentNames();
  const std::string &tool = anyOf(names.tools, choices);
  const std::string &name = anyOf(names.resources, choices);
  switch (choices() % 12) {
  case 0:
  case 1:
  case 2:
    setAndLookUp(tool, name, std::string(choices() % 5, 'v'));
    break;
  case 3:
  case 4:
    delete_resource(tool.c_str(), name.c_str());
    break;
  case 5:
    delete_tool_resources(tool.c_str());
    break;
  case 6:
    load_resources(anyOf(files, choices).c_str(), nullptr, nullptr);
    break;
  case 7:
    load_resources(nullptr, anyOf(files, choices).c_str(), anyOf(files, choices).c_str());
    break;
  case 8:
    delete_morvanel_resources();
    break;
  case 9:
    choices() % 2 ? delete_user_resources() : delete_explicit_resources();
    break;
  case 10:
    set_resource(tool.c_str(), name.c_str(), "several\nlines\\");
    break;
  default:
    std::ostringstream text;
    print_resources(text);
    break;
  }
}

void clear() {
  delete_all_resources();
  delete_morvanel_resources();
  delete_user_resources();
  delete_explicit_resources();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const FuzzDirectory directory;
  static const bool prepared = [] {
    ::setenv("HOME", directory.path("").c_str(), 1);
    silenceStreams();
    init_resource_manager();
    return true;
  }();
  (void)prepared;
  const std::string_view input = textOf(data, size);
  std::mt19937 choices = choicesOf(input);
  const std::size_t half = input.size() / 2;
  const std::vector<std::string> files = {directory.write("all", input),
                                          directory.write("first", input.substr(0, half)),
                                          directory.write("second", input.substr(half))};
  load_resources(files[1].c_str(), files[2].c_str(), nullptr);
  for (unsigned i = choices() % 8; i > 0; --i)
    editOnce(files, choices);
  // One line per resource and tool, so that the saved file can be told to hold the last value.
  setAndLookUp("tool", "last", "value");
  save_resources();
  clear();
  load_resources(nullptr, files[2].c_str(), nullptr);
  load_resources(nullptr, nullptr, files[0].c_str());
  save_resources();
  clear();
  return 0;
}
