// The registry of files and tools.

#include "resource/T_resource_manager.h"

#include "resource/ResourceManager.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_tool.h"

namespace {

bool is_slot(T_resource_source source) {
  return source >= RESOURCE_SOURCE_MORVANEL && source <= RESOURCE_SOURCE_EXPLICIT;
}

} // namespace

T_resource_manager::T_resource_manager() : T_resource_item(nullptr, nullptr, nullptr) {
  kind = RESOURCE_KIND_MANAGER;
}

T_resource_manager::~T_resource_manager() {
  delete_all_tools();
  delete_file(RESOURCE_SOURCE_MORVANEL);
  delete_file(RESOURCE_SOURCE_USER);
  delete_file(RESOURCE_SOURCE_EXPLICIT);
}

T_resource_tool *T_resource_manager::get_tool(const char *name) const {
  if (!name)
    return first_tool;
  const T_resource_string key(name);
  for (T_resource_item *item = first_tool; item; item = item->next) {
    T_resource_tool *tool = static_cast<T_resource_tool *>(item);
    if (tool->name.compare(key))
      return tool;
  }
  return nullptr;
}

T_resource_tool *T_resource_manager::set_tool(const char *name) {
  return name ? new T_resource_tool(name, &first_tool, &last_tool, this) : nullptr;
}

void T_resource_manager::delete_tool(const char *name) {
  T_resource_tool *tool = get_tool(name);
  if (tool)
    delete_item(tool, &first_tool, &last_tool);
}

void T_resource_manager::delete_all_tools() {
  delete_list(&first_tool, &last_tool);
}

T_resource_file *T_resource_manager::get_file(T_resource_source source) const {
  return is_slot(source) ? files[source] : nullptr;
}

T_resource_file *T_resource_manager::set_file(const char *name, T_resource_source source) {
  if (!is_slot(source))
    return nullptr;
  if (source == RESOURCE_SOURCE_EXPLICIT && files[source]) {
    files[source]->set_name(name);
    return files[source];
  }
  // Made first, because `name` may be the name of the file that goes.
  T_resource_file *file = new T_resource_file(name, source, nullptr, nullptr, this);
  delete_file(source);
  files[source] = file;
  return file;
}

void T_resource_manager::delete_file(T_resource_source source) {
  T_resource_file *file = get_file(source);
  if (!file)
    return;
  files[source] = nullptr;
  delete file;
}

T_resource_file *T_resource_manager::writable_file() {
  if (files[RESOURCE_SOURCE_EXPLICIT])
    return files[RESOURCE_SOURCE_EXPLICIT];
  if (files[RESOURCE_SOURCE_USER])
    return files[RESOURCE_SOURCE_USER];
  char *name = get_default_user_file();
  T_resource_file *file = set_file(name, RESOURCE_SOURCE_USER);
  delete[] name;
  return file;
}

void T_resource_manager::print_resources(std::ostream &stream) const {
  for (const T_resource_item *item = first_tool; item; item = item->next)
    static_cast<const T_resource_tool *>(item)->print_resources(stream);
}
