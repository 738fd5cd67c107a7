#ifndef KELVARUNE_RESOURCE_RESOURCEMARKS_H
#define KELVARUNE_RESOURCE_RESOURCEMARKS_H

// The characters that have a meaning in resource files, one accessor each; the parser and the
// writer name them only through these.

/// Suffix of the backup file's name.
inline char get_RESOURCE_MARK_TILDA() {
  return '~';
}

/// End of a stored string.
inline char get_RESOURCE_MARK_ENDLINE() {
  return '\0';
}

/// End of a line on disk.
inline char get_RESOURCE_MARK_RETURN() {
  return '\n';
}

inline char get_RESOURCE_MARK_TAB() {
  return '\t';
}

inline char get_RESOURCE_MARK_SPACE() {
  return ' ';
}

/// At the start of a value: the value is on the next line.
inline char get_RESOURCE_MARK_NEXTLINE() {
  return '\\';
}

inline char get_RESOURCE_MARK_COMMENT() {
  return '!';
}

/// Separator; the one that the writer uses.
inline char get_RESOURCE_MARK_STAR() {
  return '*';
}

/// Separator that the parser also accepts.
inline char get_RESOURCE_MARK_POINT() {
  return '.';
}

/// Between a resource's name and its value.
inline char get_RESOURCE_MARK_COLON() {
  return ':';
}

/// The prefix of every definition line.
inline const char *get_RESOURCE_MARK_RESOURCE() {
  return "MVL";
}

#endif
