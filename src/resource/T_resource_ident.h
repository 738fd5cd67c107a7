#ifndef KELVARUNE_RESOURCE_T_RESOURCE_IDENT_H
#define KELVARUNE_RESOURCE_T_RESOURCE_IDENT_H

#include "resource/T_resource_item.h"
#include "resource/T_resource_string.h"

class T_resource_comment;
class T_resource_line;
class T_resource_tool;

/// One resource of one tool. Destroying it deletes its definition and its comments from the file in
/// memory.
class T_resource_ident : public T_resource_item {
public:
  /// Copies `name` and `value`, either of which may be none. `line`, when given, becomes the
  /// definition.
  T_resource_ident(const char *name, const char *value, T_resource_line *line,
                   T_resource_ident **first, T_resource_ident **last, T_resource_tool *parent);
  ~T_resource_ident() override;

  /// Replaces the value with a copy of `text`; none takes the value away.
  void set_value(const char *text);

  T_resource_tool *tool() const;

  /// Makes the lines from `first` to `last`, side by side in one file, the definition. Earlier
  /// lines of the definition that are not among them are destroyed; what the lines belonged to is
  /// released.
  void define_by(T_resource_line *first, T_resource_line *last);

  /// Destroys all lines of the definition.
  void remove_lines();

  /// Leaves all lines of the definition in their file, belonging to nothing.
  void release_lines();

  /// `gone`, which belonged to the resource, is out of its file's list and being destroyed.
  void lose_line(const T_resource_line *gone);

  T_resource_string name;
  T_resource_string *value;                    ///< Owned; none when the resource has no value.
  T_resource_line *line;                       ///< The line that holds the value, or none.
  T_resource_comment *first_comment = nullptr; ///< Owned list.
  T_resource_comment *last_comment = nullptr;
};

/// The definition of `resource` in the form that is written to files, "MVL*tool*name: value". The
/// caller deletes it. Texts are written as they are; which of them do not read back the same stands
/// at set_resource in ResourceManager.h.
T_resource_string *new_value(const T_resource_ident *resource);

/// Gives `resource`, which has no line, one at the end of the manager's writable file. Without a
/// manager the resource stays without a line.
void new_line_value(T_resource_ident *resource);

#endif
