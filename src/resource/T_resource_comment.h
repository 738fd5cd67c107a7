#ifndef KELVARUNE_RESOURCE_T_RESOURCE_COMMENT_H
#define KELVARUNE_RESOURCE_T_RESOURCE_COMMENT_H

#include "resource/T_resource_item.h"

class T_resource_ident;
class T_resource_line;

/// A comment line, attached to the definition that followed it or to nothing. Destroying it
/// destroys its line.
class T_resource_comment : public T_resource_item {
public:
  /// Becomes the item of `line`.
  T_resource_comment(T_resource_line *line, T_resource_comment **first, T_resource_comment **last,
                     T_resource_item *parent);
  ~T_resource_comment() override;

  /// The resource that the comment is attached to, or none.
  T_resource_ident *resource() const;

  /// Leaves the resource that the comment is attached to, if any; its line owns it then.
  void leave_resource();

  T_resource_line *line; ///< The line that holds the comment, or none once that is gone.
};

#endif
