#ifndef KELVARUNE_TESTS_RESOURCE_RESOURCEFIXTURE_H
#define KELVARUNE_TESTS_RESOURCE_RESOURCEFIXTURE_H

#include "resource/ResourceManager.h"
#include "resource/T_resource_comment.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_line.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"
#include "resource/syntax_analysis.h"
#include "support/Fixtures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

/// Each test starts from a manager without files and tools, although there is one per process, and
/// has its home in its own directory.
class ResourceTest : public testing::Test {
protected:
  ResourceTest() {
    setenv("HOME", directory.path().toStdString().c_str(), 1);
    init_resource_manager();
    clear();
  }
  ~ResourceTest() override { clear(); }

  static void clear() {
    delete_all_resources();
    delete_morvanel_resources();
    delete_user_resources();
    delete_explicit_resources();
  }

  static T_resource_manager &manager() { return *get_resource_manager(); }

  /// Writes `content` as the file `name` and loads it into the slot.
  void load(T_resource_source source, const std::string &name, const std::string &content) {
    const std::string path = directory.write(name, content);
    load_resources(source == RESOURCE_SOURCE_MORVANEL ? path.c_str() : nullptr,
                   source == RESOURCE_SOURCE_USER ? path.c_str() : nullptr,
                   source == RESOURCE_SOURCE_EXPLICIT ? path.c_str() : nullptr);
  }

  static T_resource_ident *find(const char *tool, const char *name) {
    const T_resource_tool *found = manager().get_tool(tool);
    return found ? found->get_resource(name) : nullptr;
  }

  /// The value, or "(none)".
  static std::string lookup(const char *tool, const char *name) {
    const char *value = lookup_resource(tool, name);
    return value ? value : "(none)";
  }

  /// All definitions, one per line.
  static std::string printed() {
    std::ostringstream stream;
    print_resources(stream);
    return stream.str();
  }

  /// What saving the slot's file would write, or "(none)" for an empty slot.
  static std::string textOf(T_resource_source source) {
    const T_resource_file *file = manager().get_file(source);
    if (!file)
      return "(none)";
    std::string text;
    for (const T_resource_line *line = file->first_line; line; line = line->next_line())
      text.append(line->text.chars).append("\n");
    return text;
  }

  /// Fails when a link between the objects is one-sided or a list is broken.
  static void checkLinks();

  TemporaryDirectory directory;
};

/// Walks a list; fails when its back links or its end are wrong.
template <class T, class F>
void checkList(T *first, T *last, T_resource_item *parent, F check) {
  T_resource_item *before = nullptr;
  for (T_resource_item *item = first; item; item = item->next) {
    ASSERT_EQ(item->prev, before);
    ASSERT_EQ(item->parent, parent);
    before = item;
    check(static_cast<T *>(item));
  }
  ASSERT_EQ(before, last);
}

template <class T>
bool isInList(const T_resource_item *wanted, const T *first) {
  const T_resource_item *item = first;
  while (item && item != wanted)
    item = item->next;
  return item;
}

inline void ResourceTest::checkLinks() {
  int linesOfResources = 0;
  int resourceOfLines = 0;
  for (T_resource_file *file : manager().files) {
    if (!file)
      continue;
    int number = 0;
    checkList(file->first_line, file->last_line, file, [&](T_resource_line *line) {
      EXPECT_GT(line->number, number);
      number = line->number;
      if (line->resource())
        ++linesOfResources;
      if (T_resource_comment *comment = line->comment()) {
        EXPECT_EQ(comment->line, line);
        if (T_resource_ident *owner = comment->resource()) {
          EXPECT_TRUE(isInList(comment, owner->first_comment));
        }
      }
    });
  }
  checkList(manager().first_tool, manager().last_tool, &manager(), [&](T_resource_tool *tool) {
    checkList(tool->first_resource, tool->last_resource, tool, [&](T_resource_ident *resource) {
      for (T_resource_line *line = resource->line; line && line->item == resource;
           line = line->prev_line()) {
        EXPECT_TRUE(manager().get_file(line->file()->source) == line->file());
        ++resourceOfLines;
      }
      EXPECT_TRUE(!resource->line || resource->line->item == resource);
      checkList(resource->first_comment, resource->last_comment, resource,
                [](T_resource_comment *comment) {
                  EXPECT_TRUE(!comment->line || comment->line->item == comment);
                });
    });
  });
  EXPECT_EQ(linesOfResources, resourceOfLines) << "a line points to a resource that does not know";
}

#endif
