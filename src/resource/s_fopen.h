#ifndef KELVARUNE_RESOURCE_S_FOPEN_H
#define KELVARUNE_RESOURCE_S_FOPEN_H

#include <cstdio>

/// Opens a file; on failure reports it on standard error and returns none.
std::FILE *s_fopen(const char *path, const char *mode);

/// Writes `message`, `name` and, when given, " in " and `other`, then " because: " and the reason
/// that errno gives on entry, to standard error.
void report_system_error(const char *message, const char *name, const char *other = nullptr);

#endif
