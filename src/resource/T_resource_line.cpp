// One line of a file. Its destructor is where a deleted line takes its definition along.

#include "resource/T_resource_line.h"

#include "resource/T_resource_comment.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_tool.h"

T_resource_line::T_resource_line(int number, const char *text, T_resource_line **first,
                                 T_resource_line **last, T_resource_file *parent)
    : T_resource_item(RESOURCE_KIND_LINE, this, first, last, parent), number(number), text(text) {}

T_resource_line::~T_resource_line() {
  T_resource_ident *owner = resource();
  if (T_resource_comment *note = comment())
    note->lose_line();
  item = nullptr;
  if (owner) {
    owner->lose_line(this);
    if (owner->tool())
      owner->tool()->remove_resource(owner);
  }
}

void T_resource_line::set_value(const char *new_text) {
  text.init_string(new_text);
}

T_resource_file *T_resource_line::file() const {
  return static_cast<T_resource_file *>(parent);
}

T_resource_line *T_resource_line::prev_line() const {
  return static_cast<T_resource_line *>(prev);
}

T_resource_line *T_resource_line::next_line() const {
  return static_cast<T_resource_line *>(next);
}

T_resource_ident *T_resource_line::resource() const {
  const bool isResource = item && item->kind == RESOURCE_KIND_RESOURCE;
  return isResource ? static_cast<T_resource_ident *>(item) : nullptr;
}

T_resource_comment *T_resource_line::comment() const {
  const bool isComment = item && item->kind != RESOURCE_KIND_RESOURCE;
  return isComment ? static_cast<T_resource_comment *>(item) : nullptr;
}

void T_resource_line::release() {
  if (T_resource_ident *owner = resource()) {
    owner->release_lines();
  } else if (T_resource_comment *note = comment()) {
    note->lose_line();
    if (!note->is_owned())
      return; // Its maker may still use it.
    note->leave_owner();
    delete note;
  }
}
