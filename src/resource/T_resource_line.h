#ifndef KELVARUNE_RESOURCE_T_RESOURCE_LINE_H
#define KELVARUNE_RESOURCE_T_RESOURCE_LINE_H

#include "resource/T_resource_item.h"
#include "resource/T_resource_string.h"

class T_resource_comment;
class T_resource_file;
class T_resource_ident;

/// One physical line of a file. What its destruction takes along stands in T_resource_item.h.
class T_resource_line : public T_resource_item {
public:
  /// Copies `text`. Without a list the line is in no file's list.
  T_resource_line(int number, const char *text, T_resource_line **first, T_resource_line **last,
                  T_resource_file *parent);
  ~T_resource_line() override;

  /// Replaces the text with a copy.
  void set_value(const char *text);

  T_resource_file *file() const;
  T_resource_line *prev_line() const;
  T_resource_line *next_line() const;

  /// The resource that the line belongs to, or none.
  T_resource_ident *resource() const;

  /// The comment that the line holds, or none.
  T_resource_comment *comment() const;

  /// Makes the line belong to nothing. A comment that a resource or a file owns is destroyed. A
  /// resource keeps its value but loses all its lines, for they would no longer stand side by side.
  void release();

  int number; ///< From 1.
  T_resource_string text;
  T_resource_item *item = nullptr; ///< The resource or comment that the line belongs to, or none.
};

#endif
