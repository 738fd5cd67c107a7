// Counted strings. Every name, value and line of the resource layer is one, so that two names of
// different lengths never have their characters compared.

#include "resource/T_resource_string.h"

#include "resource/ResourceMarks.h"

#include <cstring>
#include <ostream>

namespace {

unsigned long length_of(const char *text) {
  return text ? std::strlen(text) : 0;
}

char *new_chars(const char *text, unsigned long length) {
  char *chars = new char[length + 1];
  std::memset(chars, get_RESOURCE_MARK_ENDLINE(), length + 1);
  if (text)
    std::memcpy(chars, text, strnlen(text, length));
  return chars;
}

} // namespace

T_resource_string::T_resource_string(const char *text) : T_resource_string(text, length_of(text)) {}

T_resource_string::T_resource_string(const char *text, unsigned long length)
    : length(length), chars(new_chars(text, length)) {}

T_resource_string::~T_resource_string() {
  delete[] chars;
}

void T_resource_string::init_string(const char *text) {
  init_string(text, length_of(text));
}

void T_resource_string::init_string(const char *text, unsigned long new_length) {
  char *copy = new_chars(text, new_length);
  delete[] chars;
  chars = copy;
  length = new_length;
}

T_resource_string *T_resource_string::string_copy() const {
  return new T_resource_string(chars, length);
}

bool T_resource_string::compare(const T_resource_string &other) const {
  return length == other.length && std::strcmp(chars, other.chars) == 0;
}

void T_resource_string::print(std::ostream &stream) const {
  stream << chars;
}
