#ifndef KELVARUNE_RESOURCE_T_RESOURCE_SOURCE_H
#define KELVARUNE_RESOURCE_T_RESOURCE_SOURCE_H

/// The manager's file slots. Files are loaded in this order and the last definition of a resource
/// wins, so a later slot overrides an earlier one. The type is fixed so that any int may be asked
/// for safely.
enum T_resource_source : int {
  RESOURCE_SOURCE_MORVANEL = 0, ///< The general file; read, never written.
  RESOURCE_SOURCE_USER = 1,     ///< The user's own file.
  RESOURCE_SOURCE_EXPLICIT = 2  ///< A file named explicitly.
};

#endif
