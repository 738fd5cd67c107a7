#ifndef KELVARUNE_RESOURCE_T_RESOURCE_TOOL_H
#define KELVARUNE_RESOURCE_T_RESOURCE_TOOL_H

#include "resource/T_resource_item.h"
#include "resource/T_resource_string.h"

#include <iosfwd>

class T_resource_ident;
class T_resource_line;

/// One tool. Owns its resources, in the order of their first definition; destroying it deletes
/// their definitions from the files in memory.
class T_resource_tool : public T_resource_item {
public:
  T_resource_tool(const char *name, T_resource_tool **first, T_resource_tool **last,
                  T_resource_item *parent);
  ~T_resource_tool() override;

  /// The first resource of that name, or none; none when no name is given.
  T_resource_ident *get_resource(const char *name) const;

  /// Records a definition; the last one of a resource wins.
  ///
  /// With a `line`, the parser's case, the lines from `first_line` (none: `line` alone) to `line`
  /// become the definition, and those of an earlier one are destroyed. Without one, the program's
  /// case, the definition is written in the manager's writable file: in place when it stands there
  /// already, else as a new line there, and the old lines are destroyed.
  ///
  /// Returns the resource; none when no name is given or when the resource exists but has no line
  /// (its value is replaced all the same, and a message goes to standard error).
  T_resource_ident *set_resource(const char *name, const char *value, T_resource_line *line,
                                 T_resource_line *first_line = nullptr);

  /// As set_resource, for a caller that has found `known`, the first resource of that name, or that
  /// there is none.
  T_resource_ident *set_known_resource(T_resource_ident *known, const char *name, const char *value,
                                       T_resource_line *line, T_resource_line *first_line);

  /// Destroys the first resource of that name, if any, with its lines and comments.
  void delete_resource(const char *name);

  /// Writes one definition line per resource.
  void print_resources(std::ostream &stream) const;

  /// Destroys `resource`, which is in this tool.
  void remove_resource(T_resource_ident *resource);

  T_resource_string name;
  T_resource_ident *first_resource = nullptr; ///< Owned list.
  T_resource_ident *last_resource = nullptr;
};

#endif
