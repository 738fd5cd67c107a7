#ifndef KELVARUNE_RESOURCE_T_RESOURCE_MANAGER_H
#define KELVARUNE_RESOURCE_T_RESOURCE_MANAGER_H

#include "resource/T_resource_item.h"
#include "resource/T_resource_source.h"

#include <iosfwd>

class T_resource_file;
class T_resource_tool;

/// The registry of everything read from resource files. Owns the files and the tools.
class T_resource_manager : public T_resource_item {
public:
  T_resource_manager();
  ~T_resource_manager() override;

  /// The first tool of that name, or none; without a name the first tool of all.
  T_resource_tool *get_tool(const char *name) const;

  /// Appends a new tool, even when there is one of that name; none when no name is given.
  T_resource_tool *set_tool(const char *name);

  /// Destroys the first tool of that name, if any; without a name the first tool of all. Its
  /// definitions go from the files in memory.
  void delete_tool(const char *name);

  /// Destroys every tool. The files keep the lines that define nothing, comments that precede a
  /// definition excepted.
  void delete_all_tools();

  /// The file in that slot; none when it is empty or there is no such slot.
  T_resource_file *get_file(T_resource_source source) const;

  /// Puts a new, empty file in the slot, destroying the one there with the resources defined in it.
  /// An explicit file that is there is only renamed and keeps its lines, so that a second one
  /// loaded adds to the first. None when there is no such slot.
  T_resource_file *set_file(const char *name, T_resource_source source);

  /// Destroys the file in the slot, if any, with the resources defined in it.
  void delete_file(T_resource_source source);

  /// The file that changes go to: the explicit file, else the user's, else a user file made now
  /// under the default name, which is not read from disk.
  T_resource_file *writable_file();

  /// Writes one definition line per resource, tool by tool.
  void print_resources(std::ostream &stream) const;

  T_resource_file *files[3] = {};        ///< Owned; by T_resource_source.
  T_resource_tool *first_tool = nullptr; ///< Owned list, in order of creation.
  T_resource_tool *last_tool = nullptr;
};

#endif
