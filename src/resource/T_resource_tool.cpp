// A tool's resources. Recording a definition keeps one invariant for the rest of the layer: a
// resource has one definition in all files together, so nothing is ever merged or shadowed.

#include "resource/T_resource_tool.h"

#include "resource/ResourceManager.h"
#include "resource/ResourceMarks.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_line.h"
#include "resource/T_resource_manager.h"

#include <cstdio>
#include <ostream>

namespace {

/// Whether a change of a definition that stands in `file` is written there. Without a manager there
/// is nowhere else to go.
bool is_written_in_place(const T_resource_file *file) {
  const T_resource_manager *manager = get_resource_manager();
  if (!manager)
    return true;
  const T_resource_file *explicitFile = manager->get_file(RESOURCE_SOURCE_EXPLICIT);
  return file == (explicitFile ? explicitFile : manager->get_file(RESOURCE_SOURCE_USER));
}

/// Writes the changed `resource`, which has a line, back into a file.
void rewrite_line(T_resource_ident *resource) {
  if (!is_written_in_place(resource->line->file())) {
    resource->remove_lines();
    new_line_value(resource);
    return;
  }
  T_resource_string *text = new_value(resource);
  resource->line->set_value(text->chars);
  delete text;
  // The line is a whole definition now; lines that led up to it would make it their value.
  resource->define_by(resource->line, resource->line);
}

} // namespace

T_resource_tool::T_resource_tool(const char *name, T_resource_tool **first, T_resource_tool **last,
                                 T_resource_item *parent)
    : T_resource_item(RESOURCE_KIND_ITEM, this, first, last, parent), name(name) {}

T_resource_tool::~T_resource_tool() {
  delete_list(&first_resource, &last_resource);
}

T_resource_ident *T_resource_tool::get_resource(const char *wanted) const {
  if (!wanted)
    return nullptr;
  const T_resource_string key(wanted);
  for (T_resource_item *item = first_resource; item; item = item->next) {
    T_resource_ident *resource = static_cast<T_resource_ident *>(item);
    if (resource->name.compare(key))
      return resource;
  }
  return nullptr;
}

T_resource_ident *T_resource_tool::set_resource(const char *wanted, const char *value,
                                                T_resource_line *line,
                                                T_resource_line *first_line) {
  if (!wanted)
    return nullptr;
  return set_known_resource(get_resource(wanted), wanted, value, line, first_line);
}

T_resource_ident *T_resource_tool::set_known_resource(T_resource_ident *known, const char *wanted,
                                                      const char *value, T_resource_line *line,
                                                      T_resource_line *first_line) {
  T_resource_ident *resource = known;
  const bool isNew = !known;
  if (isNew)
    resource = new T_resource_ident(wanted, value, nullptr, &first_resource, &last_resource, this);
  else
    resource->set_value(value);

  if (!isNew && !resource->line) {
    // Wanted: this one message is French and ends without a newline.
    std::fprintf(stderr, "Resource \"%s\" sans ligne rattachee", resource->name.chars);
    return nullptr;
  }
  if (line)
    resource->define_by(first_line ? first_line : line, line);
  else if (isNew)
    new_line_value(resource);
  else
    rewrite_line(resource);
  return resource;
}

void T_resource_tool::delete_resource(const char *wanted) {
  T_resource_ident *resource = get_resource(wanted);
  if (resource)
    remove_resource(resource);
}

void T_resource_tool::print_resources(std::ostream &stream) const {
  for (const T_resource_item *item = first_resource; item; item = item->next) {
    T_resource_string *text = new_value(static_cast<const T_resource_ident *>(item));
    text->print(stream);
    stream << get_RESOURCE_MARK_RETURN();
    delete text;
  }
}

void T_resource_tool::remove_resource(T_resource_ident *resource) {
  delete_item(resource, &first_resource, &last_resource);
}
