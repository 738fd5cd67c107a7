#ifndef KELVARUNE_RESOURCE_RESOURCEMANAGER_H
#define KELVARUNE_RESOURCE_RESOURCEMANAGER_H

#include <iosfwd>

class T_resource_ident;
class T_resource_manager;

// Named values for tools, read from resource files: the functions through which the rest of the
// program uses them. One process-wide manager holds everything. It is filled on the main thread
// before worker threads start and only read after that; nothing here is locked.
//
// Texts are NUL-terminated; an absent one is nullptr. A missing manager, tool or resource is never
// reported: the functions do nothing and return none. Trouble with files goes to standard error.

/// Makes the manager; a second call does nothing. It lives to the end of the process.
void init_resource_manager();

/// The manager, or none before init_resource_manager.
T_resource_manager *get_resource_manager();

/// Loads the files given, in this order; the last definition of a resource wins, and the overridden
/// line goes from its file in memory. A new general or user file replaces the one loaded before and
/// all that it defined; a new explicit file adds to the one before. The paths must not be texts
/// owned by the manager.
void load_resources(const char *general_file, const char *user_file = nullptr,
                    const char *explicit_file = nullptr);

/// Whether the regular file at `path` has a last line that loading drops, because no newline ends
/// it. False also when the file cannot be read. Needs no manager.
bool has_unfinished_line(const char *path);

/// The value of that tool's resource, owned by the manager and good until the resource changes, or
/// none. Without a tool name the first tool is asked.
const char *lookup_resource(const char *tool_name, const char *resource_name);

/// Sets a value and writes its definition in memory, into the explicit file when there is one, else
/// the user's file, else a new user file under the default name; a definition elsewhere moves
/// there. Returns the resource, or none as T_resource_tool::set_resource does.
///
/// Texts are written as they are, and not all read back. When the saved file is loaded again
/// - blanks and tabs around the value are gone, and so is a backslash that ends it;
/// - a value that is empty or blank is an error, "resource value not found";
/// - a value that starts with a backslash swallows the next line, which becomes the value;
/// - a newline in any text ends the line, and the rest is a line of its own;
/// - a tool name ends at its first '*' or '.', a resource name at its first ':'.
T_resource_ident *set_resource(const char *tool_name, const char *resource_name, const char *value);

/// Destroys that resource, with its lines and comments in memory.
void delete_resource(const char *tool_name, const char *resource_name);

/// Destroys the first tool of that name with its resources; without a name, the first tool.
void delete_tool_resources(const char *tool_name);

/// Destroys all tools with their resources. The files stay, with their other lines.
void delete_all_resources();

/// Each destroys one file in memory with the resources whose current definition is there. They do
/// not fall back to a definition that was overridden.
void delete_morvanel_resources();
void delete_user_resources();
void delete_explicit_resources();

/// Saves the file that set_resource writes to. What it held before stays beside it under its name
/// and '~'. The general file is never written.
void save_resources();

/// Writes one definition line per resource. The manager must exist.
void print_resources(std::ostream &stream);

/// Writes the banner to standard output. Needs no manager.
void resource_info();

/// The home directory (empty when HOME is not set) followed by "/.Morvanel". The caller frees it
/// with delete[]. Needs no manager.
char *get_default_user_file();

#endif
