#ifndef KELVARUNE_RESOURCE_T_RESOURCE_STRING_H
#define KELVARUNE_RESOURCE_T_RESOURCE_STRING_H

#include <iosfwd>

/// A counted character string that owns its characters.
class T_resource_string {
public:
  /// A copy of the NUL-terminated `text`; empty when `text` is none.
  explicit T_resource_string(const char *text);

  /// Stores `length` as given and copies at most that many characters of `text`, up to its NUL; the
  /// rest of the array is NUL.
  T_resource_string(const char *text, unsigned long length);

  ~T_resource_string();

  T_resource_string(const T_resource_string &) = delete;
  T_resource_string &operator=(const T_resource_string &) = delete;

  /// Replaces the content as the constructors make it. `text` may be this string's own `chars`.
  void init_string(const char *text);
  void init_string(const char *text, unsigned long length);

  /// A new heap copy, which the caller deletes.
  T_resource_string *string_copy() const;

  /// True when both lengths and all characters are equal; case-sensitive.
  bool compare(const T_resource_string &other) const;

  /// Writes the characters, without a newline.
  void print(std::ostream &stream) const;

  unsigned long length;
  char *chars; ///< Owned; `length` + 1 characters, NUL-terminated.
};

#endif
