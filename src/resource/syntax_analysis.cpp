// The line syntax. A definition is first read as a value, with no effect, then recorded; so a wrong
// one leaves no trace, and the reading can be followed without the links between the objects.

#include "resource/syntax_analysis.h"

#include "resource/ResourceManager.h"
#include "resource/ResourceMarks.h"
#include "resource/T_resource_comment.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_line.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace {

/// Finds the first item of a name in lists of `T`, each list known by its owner. Every list is
/// walked only once, as far as it takes, whatever is looked for and appended meanwhile; that holds
/// as long as no item of theirs leaves its list or changes its name.
template <class T>
class FirstOfName {
public:
  T *find(const T_resource_item *owner, T *first, const std::string &name) {
    const auto met = items.find({owner, name});
    if (met != items.end())
      return met->second;
    T *&last = lasts[owner];
    while (T_resource_item *next = last ? last->next : first) {
      last = static_cast<T *>(next);
      const std::string_view itsName(last->name.chars, last->name.length);
      items.emplace(name_t(owner, itsName), last);
      if (itsName == name)
        return last;
    }
    return nullptr;
  }

private:
  using name_t = std::pair<const T_resource_item *, std::string_view>;
  struct hash_t {
    std::size_t operator()(const name_t &name) const {
      return std::hash<std::string_view>()(name.second) ^ std::hash<const void *>()(name.first);
    }
  };
  std::unordered_map<name_t, T *, hash_t> items; ///< The first of each name among those walked.
  std::unordered_map<const T_resource_item *, T *> lasts; ///< The last item walked, by owner.
};

/// What one call of the analysis remembers from line to line. The public members of the objects
/// may change as their users like between two calls, but nothing does so within one; and nothing
/// that a definition does takes a tool or resource out of its list.
struct analysis_t {
  T_resource_comment *first_pending = nullptr; ///< The comments since the last definition.
  T_resource_comment *last_pending = nullptr;
  FirstOfName<T_resource_tool> tools;
  FirstOfName<T_resource_ident> resources;
};

struct definition_t {
  std::string tool;
  std::string name;
  std::string value;
  T_resource_line *last = nullptr; ///< The line that holds the value.
};

bool is_trailing_blank(char c) {
  return c == get_RESOURCE_MARK_SPACE() || c == get_RESOURCE_MARK_TAB();
}

bool is_blank(char c) {
  return is_trailing_blank(c) || c == get_RESOURCE_MARK_RETURN();
}

bool is_separator(char c) {
  return c == get_RESOURCE_MARK_STAR() || c == get_RESOURCE_MARK_POINT();
}

const char *skip_blanks(const char *text) {
  while (is_blank(*text))
    ++text;
  return text;
}

/// The first separator in `text`, or none.
const char *find_separator(const char *text) {
  while (*text != get_RESOURCE_MARK_ENDLINE() && !is_separator(*text))
    ++text;
  return is_separator(*text) ? text : nullptr;
}

/// Where the text after prefix and separator starts; none when `text` is not a definition.
const char *after_prefix(const char *text) {
  const char *prefix = get_RESOURCE_MARK_RESOURCE();
  const std::size_t length = std::strlen(prefix);
  const bool isDefinition = std::strncmp(text, prefix, length) == 0 && is_separator(text[length]);
  return isDefinition ? text + length + 1 : nullptr;
}

/// The value that starts at `text`, without a backslash that ends the line and without trailing
/// blanks.
std::string value_at(const char *text) {
  std::string value = text;
  if (!value.empty() && value.back() == get_RESOURCE_MARK_NEXTLINE())
    value.pop_back();
  while (!value.empty() && is_trailing_blank(value.back()))
    value.pop_back();
  return value;
}

/// Reads the value that starts at `text` of `line` or, while a backslash leads there, on the next
/// line. Returns an error message or none.
const char *read_value(const char *text, T_resource_line *line, definition_t &definition) {
  text = skip_blanks(text);
  while (*text == get_RESOURCE_MARK_NEXTLINE() && line->next_line()) {
    line = line->next_line();
    text = skip_blanks(line->text.chars);
  }
  if (*text == get_RESOURCE_MARK_ENDLINE() || *text == get_RESOURCE_MARK_NEXTLINE())
    return "resource value not found";
  definition.value = value_at(text);
  definition.last = line;
  return nullptr;
}

/// Reads the definition whose tool name starts at `text` of `line`. Returns an error message or
/// none.
const char *read_definition(const char *text, T_resource_line *line, definition_t &definition) {
  const char *separator = find_separator(text);
  if (!separator)
    return "tool name not found";
  definition.tool.assign(text, separator);
  const char *name = separator + 1;
  const char *colon = std::strchr(name, get_RESOURCE_MARK_COLON());
  if (!colon)
    return "resource name or colon not found";
  definition.name.assign(name, colon);
  return read_value(colon + 1, line, definition);
}

void report_syntax_error(const T_resource_line *line, const char *message) {
  std::fprintf(stderr, "%s:%d: Resource syntax error: %s\n",
               line->file() ? line->file()->name.chars : "", line->number, message);
}

/// Puts the comment of `line` among the pending ones: the one it has from an earlier analysis,
/// which leaves its owner, else a new one. Thus no comment ever has two owners.
void add_comment(T_resource_line *line, analysis_t &analysis) {
  T_resource_comment *comment = line->comment();
  if (comment && comment->is_owned()) {
    comment->leave_owner();
    T_resource_item::append_item(comment, &analysis.first_pending, &analysis.last_pending);
    return;
  }
  new T_resource_comment(line, &analysis.first_pending, &analysis.last_pending, nullptr);
}

/// Gives the pending comments to `resource` or, when there is none, each to the file of its line.
void hand_over(analysis_t &analysis, T_resource_ident *resource) {
  while (T_resource_comment *comment = analysis.first_pending) {
    T_resource_item::unlink_item(comment, &analysis.first_pending, &analysis.last_pending);
    if (resource) {
      T_resource_item::append_item(comment, &resource->first_comment, &resource->last_comment);
      comment->parent = resource;
    } else if (T_resource_file *file = comment->line->file()) {
      file->keep_comment(comment);
    } else {
      comment->lose_line();
      delete comment;
    }
  }
}

T_resource_ident *record(const definition_t &definition, T_resource_line *first,
                         analysis_t &analysis) {
  T_resource_manager *manager = get_resource_manager();
  if (!manager)
    return nullptr;
  T_resource_tool *tool = analysis.tools.find(manager, manager->first_tool, definition.tool);
  if (!tool)
    tool = manager->set_tool(definition.tool.c_str());
  T_resource_ident *known = analysis.resources.find(tool, tool->first_resource, definition.name);
  return tool->set_known_resource(known, definition.name.c_str(), definition.value.c_str(),
                                  definition.last, first);
}

/// Analyses `line` and returns the line to go on with.
T_resource_line *analyse_line(T_resource_line *line, analysis_t &analysis) {
  const char *text = skip_blanks(line->text.chars);
  if (*text == get_RESOURCE_MARK_COMMENT()) {
    add_comment(line, analysis);
    return line->next_line();
  }
  text = after_prefix(text);
  if (!text)
    return line->next_line();
  definition_t definition;
  if (const char *error = read_definition(text, line, definition)) {
    report_syntax_error(line, error);
    return line->next_line();
  }
  hand_over(analysis, record(definition, line, analysis));
  return definition.last->next_line();
}

} // namespace

void syntax_analysis(T_resource_line *line) {
  if (line && line->file())
    line->file()->drop_lost_comments();
  analysis_t analysis;
  while (line)
    line = analyse_line(line, analysis);
  hand_over(analysis, nullptr);
}
