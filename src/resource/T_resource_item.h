#ifndef KELVARUNE_RESOURCE_T_RESOURCE_ITEM_H
#define KELVARUNE_RESOURCE_T_RESOURCE_ITEM_H

// Who owns whom
//   manager   owns its files (three slots) and its tools (list)
//   file      owns its lines, and those comments that the analysis attached to no resource
//   tool      owns its resources
//   resource  owns its comments
//   Whatever none of these owns belongs to whoever made it or took it out of its list.
//
// Who points across, and who clears whom
//   line.item         the resource or comment that the line belongs to
//   resource.line     the last line of the definition, the one that holds the value
//   comment.line      the line that holds the comment
// The lines of one resource stand side by side in one file and end at resource.line.
//
//   A line that is destroyed destroys its resource, which takes the rest of its lines along. It
//   clears the link of its comment, whoever owns that. A comment of the file that has lost its line
//   is destroyed with the file, or earlier, when lines of the file are analysed again.
//   A comment that is destroyed destroys its line; a file that owns it forgets it.
//   A resource that is destroyed destroys its comments, and so their lines, and its own lines.
//
// Whoever destroys a partner first clears the partner's link to itself, so a chain of destructors
// is at most a few calls deep however long the lists are, and nothing is destroyed twice. An item
// leaves its list before its destructor runs: what the destructor destroys in the same list finds
// that list whole.

/// What an item is. Only RESOURCE_KIND_RESOURCE is ever asked for.
enum T_resource_kind : int {
  RESOURCE_KIND_ITEM = 0, ///< A plain item, and a tool.
  RESOURCE_KIND_LINE = 1,
  RESOURCE_KIND_FILE = 2,
  RESOURCE_KIND_RESOURCE = 3,
  RESOURCE_KIND_COMMENT = 4,
  RESOURCE_KIND_MANAGER = 6
};

/// The common base: a node of a doubly linked list whose ends, `first` and `last`, are pointers of
/// the list's owner. Not locked: one thread. Lists are changed only through the functions here.
class T_resource_item {
public:
  /// A plain item. It is appended to the list when both ends are given, else in no list.
  T_resource_item(T_resource_item **first, T_resource_item **last, T_resource_item *parent);

  virtual ~T_resource_item();

  T_resource_item(const T_resource_item &) = delete;
  T_resource_item &operator=(const T_resource_item &) = delete;

  /// Appends `item`, which is in no list. Does nothing when `first` or `last` is missing.
  template <class T>
  static void append_item(T *item, T **first, T **last) {
    if (!first || !last)
      return;
    item->prev = *last;
    item->next = nullptr;
    if (*last)
      (*last)->next = item;
    else
      *first = item;
    *last = item;
  }

  /// Takes `item` out of the list without destroying it.
  template <class T>
  static void unlink_item(T *item, T **first, T **last) {
    bridge(item, first, last);
    item->prev = nullptr;
    item->next = nullptr;
  }

  /// Takes `item` out of the list and destroys it.
  template <class T>
  static void delete_item(T *item, T **first, T **last) {
    // The item keeps its own prev: a line's destructor asks what stood before it.
    bridge(item, first, last);
    delete item;
  }

  /// Destroys a whole list from the front. Destructors may remove more of the same list meanwhile.
  template <class T>
  static void delete_list(T **first, T **last) {
    while (*first)
      delete_item(*first, first, last);
  }

  int kind;                ///< A T_resource_kind.
  T_resource_item *parent; ///< The owner of the list that the item is in, or none. Not owned.
  T_resource_item *prev = nullptr;
  T_resource_item *next = nullptr;

protected:
  /// As the public constructor, for a `self` of a derived class in a list of that class.
  template <class T>
  T_resource_item(T_resource_kind kind, T *self, T **first, T **last, T_resource_item *parent)
      : kind(kind), parent(parent) {
    append_item(self, first, last);
  }

private:
  /// Joins the neighbours of `item` and moves the ends of the list off it.
  template <class T>
  static void bridge(T *item, T **first, T **last) {
    if (item->prev)
      item->prev->next = item->next;
    if (item->next)
      item->next->prev = item->prev;
    if (*first == item)
      *first = static_cast<T *>(item->next);
    if (*last == item)
      *last = static_cast<T *>(item->prev);
  }
};

#endif
