// Resource files: two files are parsed over each other, and then used as nobody would call
// sensible: lines are replaced behind the parser's back, analysis starts anywhere, files end inside
// a definition. The objects point at each other in several ways; what the checks here do not see,
// the sanitizers do.

#include "FuzzSupport.h"
#include "resource/ResourceManager.h"
#include "resource/T_resource_comment.h"
#include "resource/T_resource_file.h"
#include "resource/T_resource_ident.h"
#include "resource/T_resource_line.h"
#include "resource/T_resource_manager.h"
#include "resource/T_resource_tool.h"
#include "resource/syntax_analysis.h"

#include <functional>
#include <vector>

namespace {

void checkLinks() {
  int strayLines = 0; // those of resources, less those that resources know
  for (const T_resource_file *file : get_resource_manager()->files) {
    for (auto *line = file ? file->first_line : nullptr; line; line = line->next_line()) {
      require(!line->comment() || line->comment()->line == line, "a comment knows its line");
      require(!line->next || line->next->prev == line, "a list has both directions");
      strayLines += line->resource() ? 1 : 0;
    }
  }
  for (T_resource_item *tool = get_resource_manager()->first_tool; tool; tool = tool->next) {
    T_resource_item *item = static_cast<T_resource_tool *>(tool)->first_resource;
    for (; item; item = item->next) {
      const auto *resource = static_cast<const T_resource_ident *>(item);
      for (auto *line = resource->line; line && line->item == resource; line = line->prev_line())
        --strayLines;
      const T_resource_comment *note = resource->first_comment;
      for (; note; note = static_cast<const T_resource_comment *>(note->next))
        require(!note->line || note->line->item == note, "a line knows its comment");
    }
  }
  require(strayLines == 0, "a resource knows its lines");
}

void abuse(const std::vector<std::string> &paths, std::mt19937 &choices) {
  const char *const texts[] = {"! note", "MVL*a*p: 1", "MVL*a*p: \\", "\\", "MVL*b*q: \\", "value"};
  const auto below = [&choices](unsigned count) { return static_cast<int>(choices() % count); };
  const char *const names[] = {"a", "b", "p", "q"};
  T_resource_file *file = nullptr;
  int number = 0;
  const std::function<void()> actions[] = {
      [&] { file->set_line(number, texts[below(6)]); },
      [&] { file->delete_line(number); },
      [&] { syntax_analysis(file->get_line(number)); },
      [&] { set_resource(names[below(2)], names[2 + below(2)], texts[below(6)]); },
      [&] { delete_resource(names[below(2)], names[2 + below(2)]); },
      [&] { delete_tool_resources(below(2) ? nullptr : names[below(2)]); },
      [&] { get_resource_manager()->delete_file(file->source); },
      [&] { load_resources(nullptr, nullptr, paths[below(2)].c_str()); }};
  std::discrete_distribution<std::size_t> choose({15, 16, 17, 5, 3, 1, 1, 1});
  for (int step = 0; step < 300; ++step) {
    const auto source = static_cast<T_resource_source>(below(3));
    file = get_resource_manager()->get_file(source);
    file = file ? file : get_resource_manager()->set_file(paths[2].c_str(), source);
    number = below(20);
    actions[choose(choices)]();
    checkLinks();
  }
}

} // namespace

void fuzz(const FuzzDirectory &directory, std::string_view input, std::mt19937 &choices) {
  ::setenv("HOME", directory.path("").c_str(), 1);
  init_resource_manager();
  const std::size_t half = input.size() / 2;
  const std::vector<std::string> paths = {directory.write("first", input.substr(0, half)),
                                          directory.write("second", input.substr(half)),
                                          directory.path("saved")};
  load_resources(paths[0].c_str(), paths[1].c_str());
  abuse(paths, choices);
  set_resource("tool", "last", "value");
  require(lookup_resource("tool", "last") == std::string("value"), "a value that was set is found");
  save_resources();
  for (const auto drop : {delete_all_resources, delete_morvanel_resources, delete_user_resources,
                          delete_explicit_resources})
    drop();
}
