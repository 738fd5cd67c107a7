#ifndef KELVARUNE_RESOURCE_T_RESOURCE_COMMENT_H
#define KELVARUNE_RESOURCE_T_RESOURCE_COMMENT_H

#include "resource/T_resource_item.h"

class T_resource_file;
class T_resource_ident;
class T_resource_line;

/// A comment line, attached to the definition that followed it or to nothing. Destroying it
/// destroys its line. Who owns it stands in T_resource_item.h.
class T_resource_comment : public T_resource_item {
public:
  /// Becomes the item of `line`.
  T_resource_comment(T_resource_line *line, T_resource_comment **first, T_resource_comment **last,
                     T_resource_item *parent);
  ~T_resource_comment() override;

  /// The resource that the comment is attached to, or none.
  T_resource_ident *resource() const;

  /// Whether a resource or a file owns the comment.
  bool is_owned() const;

  /// Leaves the resource or file that owns the comment, if any; the caller owns it then.
  void leave_owner();

  /// Parts the comment from its line, if it has one. Destroys neither.
  void lose_line();

  T_resource_line *line; ///< The line that holds the comment, or none once that is gone.

private:
  friend class T_resource_file;
  T_resource_file *keeper = nullptr; ///< The file that owns the comment, or none.
};

#endif
