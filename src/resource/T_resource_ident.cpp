// A resource and the lines that define it. The lines of a definition stand side by side and end at
// `line`; everything that changes that run is here, so that no line is left pointing to a resource
// that is gone.

#include "resource/T_resource_ident.h"

#include "resource/ResourceManager.h"
#include "resource/ResourceMarks.h"
#include "resource/T_resource_comment.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_line.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"

#include <string>

namespace {

/// Whether `line` is one of the lines from `first` to `last` of one file.
bool is_between(const T_resource_line *line, const T_resource_line *first,
                const T_resource_line *last) {
  return line->parent == last->parent && line->number >= first->number &&
         line->number <= last->number;
}

/// Parts a line from its resource and takes it out of its file. A line in no file is its maker's.
void discard(T_resource_line *line) {
  line->item = nullptr;
  if (line->file())
    line->file()->remove_line(line);
}

} // namespace

T_resource_ident::T_resource_ident(const char *name, const char *value, T_resource_line *line,
                                   T_resource_ident **first, T_resource_ident **last,
                                   T_resource_tool *parent)
    : T_resource_item(RESOURCE_KIND_RESOURCE, this, first, last, parent), name(name),
      value(value ? new T_resource_string(value) : nullptr), line(nullptr) {
  if (line)
    define_by(line, line);
}

T_resource_ident::~T_resource_ident() {
  delete value;
  delete_list(&first_comment, &last_comment);
  remove_lines();
}

void T_resource_ident::set_value(const char *text) {
  T_resource_string *copy = text ? new T_resource_string(text) : nullptr;
  delete value;
  value = copy;
}

T_resource_tool *T_resource_ident::tool() const {
  return static_cast<T_resource_tool *>(parent);
}

void T_resource_ident::define_by(T_resource_line *first, T_resource_line *last) {
  for (T_resource_line *old = line; old && old->item == this;) {
    T_resource_line *before = old->prev_line();
    if (!is_between(old, first, last))
      discard(old);
    old = before;
  }
  line = last;
  for (T_resource_line *mine = first; mine; mine = mine == last ? nullptr : mine->next_line()) {
    if (mine->item == this)
      continue;
    mine->release();
    mine->item = this;
  }
}

void T_resource_ident::remove_lines() {
  while (line && line->item == this) {
    T_resource_line *old = line;
    line = old->prev_line();
    discard(old);
  }
  line = nullptr;
}

void T_resource_ident::release_lines() {
  for (; line && line->item == this; line = line->prev_line())
    line->item = nullptr;
  line = nullptr;
}

void T_resource_ident::lose_line(const T_resource_line *gone) {
  if (line != gone)
    return;
  T_resource_line *before = gone->prev_line();
  line = before && before->item == this ? before : nullptr;
}

T_resource_string *new_value(const T_resource_ident *resource) {
  std::string text = get_RESOURCE_MARK_RESOURCE();
  text += get_RESOURCE_MARK_STAR();
  if (resource->tool())
    text += resource->tool()->name.chars;
  text += get_RESOURCE_MARK_STAR();
  text += resource->name.chars;
  text += get_RESOURCE_MARK_COLON();
  text += get_RESOURCE_MARK_SPACE();
  if (resource->value)
    text += resource->value->chars;
  return new T_resource_string(text.c_str());
}

void new_line_value(T_resource_ident *resource) {
  T_resource_manager *manager = get_resource_manager();
  if (!manager)
    return;
  T_resource_string *text = new_value(resource);
  resource->line = manager->writable_file()->append_line(text->chars);
  resource->line->item = resource;
  delete text;
}
