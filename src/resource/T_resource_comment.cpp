// A comment. It goes with its owner, and its line goes with it.

#include "resource/T_resource_comment.h"

#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_line.h"

T_resource_comment::T_resource_comment(T_resource_line *line, T_resource_comment **first,
                                       T_resource_comment **last, T_resource_item *parent)
    : T_resource_item(RESOURCE_KIND_COMMENT, this, first, last, parent), line(line) {
  if (!line)
    return;
  line->release();
  line->item = this;
}

T_resource_comment::~T_resource_comment() {
  if (keeper)
    keeper->forget_comment(this);
  if (!line)
    return;
  line->item = nullptr;
  if (line->file())
    line->file()->remove_line(line);
}

T_resource_ident *T_resource_comment::resource() const {
  return static_cast<T_resource_ident *>(parent);
}

bool T_resource_comment::is_owned() const {
  return parent || keeper;
}

void T_resource_comment::leave_owner() {
  if (keeper)
    keeper->forget_comment(this);
  if (!parent)
    return;
  unlink_item(this, &resource()->first_comment, &resource()->last_comment);
  parent = nullptr;
}

void T_resource_comment::lose_line() {
  if (!line)
    return;
  line->item = nullptr;
  line = nullptr;
  if (keeper)
    keeper->note_lost_comment(this);
}
