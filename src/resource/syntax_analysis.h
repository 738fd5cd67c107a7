#ifndef KELVARUNE_RESOURCE_SYNTAX_ANALYSIS_H
#define KELVARUNE_RESOURCE_SYNTAX_ANALYSIS_H

class T_resource_line;

/// Analyses `line` and all lines after it, and records their definitions and comments in the
/// manager; without one, nothing is recorded. `line` may be none.
///
/// A comment goes to the next definition that is recorded in the same call. A definition whose
/// value the file ends before, or that is continued by a blank line, has no value. A wrong line is
/// reported on standard error, as "file:line: Resource syntax error: message", and skipped.
///
/// Lines analysed before are analysed again: their comments move with their definitions, and a line
/// that means something else now leaves what it belonged to.
void syntax_analysis(T_resource_line *line);

#endif
