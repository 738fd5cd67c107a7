// Loading and saving one file. Every line is kept, whatever it means, so that saving gives back
// what the program did not change.

#include "resource/T_resource_file.h"

#include "resource/ResourceMarks.h"
#include "resource/T_resource_comment.h"
#include "resource/T_resource_line.h"
#include "resource/s_fopen.h"

#include <cstdio>
#include <string>

#include <sys/stat.h>

namespace {

/// Stores the lines of `stream` in `file`; what follows the last newline is dropped.
void read_lines(std::FILE *stream, T_resource_file *file) {
  std::string text;
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
    if (c != get_RESOURCE_MARK_RETURN()) {
      text.push_back(static_cast<char>(c));
      continue;
    }
    file->append_line(text.c_str());
    text.clear();
  }
}

bool write_line(std::FILE *stream, const T_resource_string &text) {
  unsigned long written = std::fwrite(text.chars, 1, text.length, stream);
  if (std::fputc(get_RESOURCE_MARK_RETURN(), stream) != EOF)
    ++written;
  return written == text.length + 1;
}

void close_file(std::FILE *stream, const char *name) {
  if (std::fclose(stream) != 0)
    report_system_error("Can not close file: ", name);
}

} // namespace

T_resource_file::T_resource_file(const char *name, T_resource_source source,
                                 T_resource_file **first, T_resource_file **last,
                                 T_resource_item *parent)
    : T_resource_item(RESOURCE_KIND_FILE, this, first, last, parent), name(name), source(source) {}

T_resource_file::~T_resource_file() {
  delete_list(&first_line, &last_line);
  drop(kept_comments);
}

T_resource_line *T_resource_file::load() {
  struct stat status;
  if (stat(name.chars, &status) != 0) {
    report_system_error("Unable to open resource file ", name.chars);
    return nullptr;
  }
  if (status.st_size < 1)
    return nullptr;
  std::FILE *stream = s_fopen(name.chars, "r");
  if (!stream)
    return nullptr;
  read_lines(stream, this);
  close_file(stream, name.chars);
  return get_line(1);
}

bool T_resource_file::has_unfinished_line(const char *path) {
  struct stat status;
  if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
    return false;
  std::FILE *stream = std::fopen(path, "r");
  if (!stream)
    return false;
  const bool hasEnd = std::fseek(stream, -1, SEEK_END) == 0; // An empty file has none.
  const int last = hasEnd ? std::fgetc(stream) : EOF;
  std::fclose(stream);
  return last != EOF && last != get_RESOURCE_MARK_RETURN();
}

void T_resource_file::save() const {
  const std::string backup = std::string(name.chars) + get_RESOURCE_MARK_TILDA();
  // The missing "not" of this message is wanted: others look for it as it stands.
  if (std::rename(name.chars, backup.c_str()) != 0)
    report_system_error("Can rename file: ", name.chars, backup.c_str());
  std::FILE *stream = s_fopen(name.chars, "w");
  if (!stream)
    return;
  for (const T_resource_line *line = first_line; line; line = line->next_line()) {
    if (!write_line(stream, line->text)) {
      report_system_error("Can not write in file: ", name.chars);
      return; // Wanted: the file stays open.
    }
  }
  close_file(stream, name.chars);
}

T_resource_line *T_resource_file::get_line(int number) const {
  T_resource_line *line = first_line;
  while (line && line->number < number)
    line = line->next_line();
  return line;
}

void T_resource_file::set_line(int number, const char *text) {
  T_resource_line *line = get_line(number);
  if (line)
    line->set_value(text);
  else
    append_line(text);
}

void T_resource_file::delete_line(int number) {
  T_resource_line *line = get_line(number);
  if (line)
    remove_line(line);
}

void T_resource_file::set_name(const char *text) {
  name.init_string(text);
}

T_resource_line *T_resource_file::append_line(const char *text) {
  const int number = last_line ? last_line->number + 1 : 1;
  new T_resource_line(number, text, &first_line, &last_line, this); // The list keeps it.
  return last_line;
}

void T_resource_file::remove_line(T_resource_line *line) {
  delete_item(line, &first_line, &last_line);
}

void T_resource_file::keep_comment(T_resource_comment *comment) {
  comment->keeper = this;
  kept_comments.insert(comment);
}

void T_resource_file::forget_comment(T_resource_comment *comment) {
  comment->keeper = nullptr;
  kept_comments.erase(comment);
  lost_comments.erase(comment);
}

void T_resource_file::note_lost_comment(T_resource_comment *comment) {
  lost_comments.insert(comment);
}

void T_resource_file::drop_lost_comments() {
  drop(lost_comments);
}

void T_resource_file::drop(comments_t &comments) {
  while (!comments.empty()) {
    T_resource_comment *comment = *comments.begin();
    comment->keeper->forget_comment(comment);
    if (comment->parent)
      continue;
    comment->lose_line(); // Its line, if it has one, is in another file now.
    delete comment;
  }
}
