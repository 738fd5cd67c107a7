#ifndef KELVARUNE_RESOURCE_T_RESOURCE_FILE_H
#define KELVARUNE_RESOURCE_T_RESOURCE_FILE_H

#include "resource/T_resource_item.h"
#include "resource/T_resource_source.h"
#include "resource/T_resource_string.h"

#include <unordered_set>

class T_resource_comment;
class T_resource_line;

/// One resource file, held line by line. Owns its lines and its comments that are attached to no
/// resource. Line numbers rise along the list; deleting
/// a line leaves a gap.
class T_resource_file : public T_resource_item {
public:
  /// An empty file object; nothing is read. `first` and `last` may be none (not in a list).
  T_resource_file(const char *name, T_resource_source source, T_resource_file **first,
                  T_resource_file **last, T_resource_item *parent);
  ~T_resource_file() override;

  /// Appends the lines of the file on disk, numbered on from the last line held, and returns the
  /// first line of all, which is the one to analyse from.
  ///
  /// Returns none when the file cannot be queried or opened (a message goes to standard error) or
  /// when its size is 0, as that of devices and FIFOs is, which are therefore never waited for. A
  /// last line without a newline is dropped; a line is cut at its first NUL.
  T_resource_line *load();

  /// Whether the regular file at `path` has a last line that load drops, because no newline ends
  /// it. False also when the file cannot be read.
  static bool has_unfinished_line(const char *path);

  /// Renames the file on disk to its name and '~', then writes all lines. Failures are messages on
  /// standard error; a failed rename does not keep the file from being written.
  void save() const;

  /// The first line whose number is at least `number`, or none.
  T_resource_line *get_line(int number) const;

  /// Replaces the text of the first line whose number is at least `number`; when there is none,
  /// appends a line numbered one above the last (1 in an empty file), whatever `number` was. What
  /// the line belongs to does not change.
  void set_line(int number, const char *text);

  /// Destroys the first line whose number is at least `number`, if any, with the resource that it
  /// carries.
  void delete_line(int number);

  void set_name(const char *text);

  /// Appends a line with the next number and returns it.
  T_resource_line *append_line(const char *text);

  /// Destroys `line`, which is in this file.
  void remove_line(T_resource_line *line);

  /// Owns `comment`, which nobody owns, from now on.
  void keep_comment(T_resource_comment *comment);

  /// Does not own `comment` any more.
  void forget_comment(T_resource_comment *comment);

  /// `comment`, which the file owns, has lost its line.
  void note_lost_comment(T_resource_comment *comment);

  /// Destroys the comments of the file that have lost their line.
  void drop_lost_comments();

  T_resource_string name; ///< The path as given.
  T_resource_source source;
  T_resource_line *first_line = nullptr; ///< Owned list.
  T_resource_line *last_line = nullptr;

private:
  /// Comments, in no list, that a destructor of theirs finds and leaves at once.
  using comments_t = std::unordered_set<T_resource_comment *>;

  /// Destroys those `comments`, a part of `kept_comments` or all of them, that are attached to no
  /// resource, and leaves the others to theirs.
  static void drop(comments_t &comments);

  comments_t kept_comments; ///< Owned.
  comments_t lost_comments; ///< Those of them that have lost their line.
};

#endif
