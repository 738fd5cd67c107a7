#ifndef KELVARUNE_RESOURCE_SYNTAX_ANALYSIS_H
#define KELVARUNE_RESOURCE_SYNTAX_ANALYSIS_H

class T_resource_line;

/// Analyses `line` and all lines after it, and records their definitions and comments in the
/// manager; without one, nothing is recorded. `line` may be none.
///
/// Comments go to the next definition in the same call that has no error; when that one cannot be
/// recorded, to nothing. A continued definition that meets the end of the file or a blank line has
/// no value. A wrong definition is reported on standard error, as
/// "file:line: Resource syntax error: message" with the number of its first line; that line is
/// skipped.
///
/// Lines analysed before are analysed again. Their comments move with their definitions. A line
/// that is now a comment or part of another definition leaves what it belonged to; one that now
/// means nothing, is blank or is a wrong definition still belongs to what it belonged to, and goes
/// with it.
void syntax_analysis(T_resource_line *line);

#endif
