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

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

template <class F>
std::string messagesOf(F action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

/// Each test starts from a manager without files and tools, although there is one per process, and
/// has its home in its own directory. Texts have '|' for the end of a line.
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
    for (const auto drop :
         {delete_morvanel_resources, delete_user_resources, delete_explicit_resources})
      drop();
  }

  static T_resource_manager &manager() { return *get_resource_manager(); }

  /// Writes those contents that are given to files named after their slots and loads them.
  void load(const char *general, const char *user = nullptr, const char *named = nullptr) {
    const auto write = [this](const char *name, std::string content) {
      std::replace(content.begin(), content.end(), '|', '\n');
      return directory.write(name, content);
    };
    load_resources(general ? write("general", general).c_str() : nullptr,
                   user ? write("user", user).c_str() : nullptr,
                   named ? write("named", named).c_str() : nullptr);
  }

  /// What each file would save, after the letter of its slot.
  static std::string files() {
    std::string text;
    for (const T_resource_file *file : manager().files) {
      text += file ? std::string(1, "GUE"[file->source]) + ":" : "";
      for (auto *line = file ? file->first_line : nullptr; line; line = line->next_line())
        text.append(line->text.chars).append("|");
    }
    return text;
  }

  static std::string printed() {
    std::ostringstream text;
    print_resources(text);
    return text.str();
  }

  TemporaryDirectory directory;
};

#endif
