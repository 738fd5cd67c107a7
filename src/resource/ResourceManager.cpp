// The flat interface over the one manager. The functions only find their object and hand on; what
// they do is described by the classes.

#include "resource/ResourceManager.h"

#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"
#include "resource/syntax_analysis.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <ResourceVersion.h>

namespace {

T_resource_manager *init_manager_sop = nullptr;

void load_file(const char *path, T_resource_source source) {
  if (path)
    syntax_analysis(init_manager_sop->set_file(path, source)->load());
}

void delete_file(T_resource_source source) {
  if (init_manager_sop)
    init_manager_sop->delete_file(source);
}

T_resource_tool *find_tool(const char *tool_name) {
  return init_manager_sop ? init_manager_sop->get_tool(tool_name) : nullptr;
}

} // namespace

void init_resource_manager() {
  if (!init_manager_sop)
    init_manager_sop = new T_resource_manager;
}

T_resource_manager *get_resource_manager() {
  return init_manager_sop;
}

void load_resources(const char *general_file, const char *user_file, const char *explicit_file) {
  if (!init_manager_sop)
    return;
  load_file(general_file, RESOURCE_SOURCE_MORVANEL);
  load_file(user_file, RESOURCE_SOURCE_USER);
  load_file(explicit_file, RESOURCE_SOURCE_EXPLICIT);
}

bool has_unfinished_line(const char *path) {
  return T_resource_file::has_unfinished_line(path);
}

const char *lookup_resource(const char *tool_name, const char *resource_name) {
  const T_resource_tool *tool = find_tool(tool_name);
  const T_resource_ident *resource = tool ? tool->get_resource(resource_name) : nullptr;
  return resource && resource->value ? resource->value->chars : nullptr;
}

T_resource_ident *set_resource(const char *tool_name, const char *resource_name,
                               const char *value) {
  T_resource_tool *tool = find_tool(tool_name);
  if (!tool && init_manager_sop)
    tool = init_manager_sop->set_tool(tool_name);
  return tool ? tool->set_resource(resource_name, value, nullptr) : nullptr;
}

void delete_resource(const char *tool_name, const char *resource_name) {
  T_resource_tool *tool = find_tool(tool_name);
  if (tool)
    tool->delete_resource(resource_name);
}

void delete_tool_resources(const char *tool_name) {
  if (init_manager_sop)
    init_manager_sop->delete_tool(tool_name);
}

void delete_all_resources() {
  if (init_manager_sop)
    init_manager_sop->delete_all_tools();
}

void delete_morvanel_resources() {
  delete_file(RESOURCE_SOURCE_MORVANEL);
}

void delete_user_resources() {
  delete_file(RESOURCE_SOURCE_USER);
}

void delete_explicit_resources() {
  delete_file(RESOURCE_SOURCE_EXPLICIT);
}

void save_resources() {
  if (init_manager_sop)
    init_manager_sop->writable_file()->save();
}

void print_resources(std::ostream &stream) {
  init_manager_sop->print_resources(stream);
}

void resource_info() {
  std::printf("- Resource Manager version %s (%s)\n                   %s\n", RESOURCE_VERSION,
              RESOURCE_REVISION, RESOURCE_NOTICE);
  std::printf("The following flags have been used : \n");
  std::printf("Compiled with gcc version %s\n", __VERSION__);
  std::printf("Compiled for Linux target\n");
  std::printf("(Pentium version)\n");
}

char *get_default_user_file() {
  const char *home = std::getenv("HOME");
  const std::string name = std::string(home ? home : "") + "/.Morvanel";
  char *chars = new char[name.size() + 1];
  std::memcpy(chars, name.c_str(), name.size() + 1);
  return chars;
}
