// Files, lines, comments and resources destroy each other. Here they do so in every order; the
// address sanitizer and checkLinks say whether something was left behind.

#include "ResourceFixture.h"

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace {

using ResourceLinks = ResourceTest;

const char *const CONTENT = "! a\n! b\nMVL*t*r: \\\n\\\n  v\nplain\n! c\n";

struct deletion_t {
  const char *name;
  std::function<void()> run;
};

TEST_F(ResourceLinks, SurviveDeletionsInEveryOrder) {
  std::vector<deletion_t> deletions = {
      {"tool", [] { delete_tool_resources("t"); }},
      {"file", [] { delete_morvanel_resources(); }},
      {"line",
       [] {
         if (T_resource_file *file = manager().get_file(RESOURCE_SOURCE_MORVANEL))
           file->delete_line(4);
       }},
      {"comment",
       [] {
         T_resource_ident *owner = find("t", "r");
         if (owner && owner->first_comment)
           T_resource_item::delete_item(owner->first_comment, &owner->first_comment,
                                        &owner->last_comment);
       }},
      {"comment_line",
       [] {
         if (T_resource_file *file = manager().get_file(RESOURCE_SOURCE_MORVANEL))
           file->delete_line(2);
       }},
  };
  std::vector<std::size_t> order = {0, 1, 2, 3, 4};
  do {
    clear();
    load(RESOURCE_SOURCE_MORVANEL, "general", CONTENT);
    std::string trace;
    for (const std::size_t i : order) {
      trace.append(deletions[i].name).append(" ");
      SCOPED_TRACE(trace);
      deletions[i].run();
      checkLinks();
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ResourceLinks, AnyLineOfADefinitionTakesTheWholeAlong) {
  for (const int number : {3, 4, 5}) {
    SCOPED_TRACE(number);
    clear();
    load(RESOURCE_SOURCE_MORVANEL, "general", CONTENT);
    manager().get_file(RESOURCE_SOURCE_MORVANEL)->delete_line(number);
    EXPECT_EQ(lookup("t", "r"), "(none)");
    EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "plain\n! c\n");
    checkLinks();
  }
}

TEST_F(ResourceLinks, ACommentLineGoesAlone) {
  load(RESOURCE_SOURCE_MORVANEL, "general", CONTENT);
  manager().get_file(RESOURCE_SOURCE_MORVANEL)->delete_line(1);
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "! b\nMVL*t*r: \\\n\\\n  v\nplain\n! c\n");
  delete_resource("t", "r");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_MORVANEL), "plain\n! c\n");
  checkLinks();
}

TEST_F(ResourceLinks, ASecondExplicitFileAddsToTheFirst) {
  load(RESOURCE_SOURCE_EXPLICIT, "first", "! a\nMVL*t*r: 1\n! b\nMVL*t*s: \\\n2\n! last\n");
  load(RESOURCE_SOURCE_EXPLICIT, "second", "MVL*t*u: 3\n! again\nMVL*t*r: 4\n");
  EXPECT_EQ(printed(), "MVL*t*r: 4\nMVL*t*s: 2\nMVL*t*u: 3\n");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT),
            "! a\n! b\nMVL*t*s: \\\n2\n! last\nMVL*t*u: 3\n! again\nMVL*t*r: 4\n");
  EXPECT_EQ(manager().get_file(RESOURCE_SOURCE_EXPLICIT)->name.chars, directory.bytePath("second"));
  checkLinks();
  // "! last" is followed by a definition now.
  delete_resource("t", "u");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "! a\n! b\nMVL*t*s: \\\n2\n! again\nMVL*t*r: 4\n");
  delete_resource("t", "r");
  EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), "! b\nMVL*t*s: \\\n2\n");
  checkLinks();
}

TEST_F(ResourceLinks, LongListsNeedNoDeepStack) {
  std::string comments;
  std::string continuation = "MVL*t*r: \\\n";
  for (int i = 0; i < 100000; ++i) {
    comments += "!\n";
    continuation += "\\\n";
  }
  const std::string content = comments + continuation + "v\n";
  for (int round = 0; round < 3; ++round) {
    load(RESOURCE_SOURCE_EXPLICIT, "explicit", content);
    EXPECT_EQ(lookup("t", "r"), "v");
    if (round == 0)
      delete_resource("t", "r");
    else if (round == 1)
      manager().get_file(RESOURCE_SOURCE_EXPLICIT)->delete_line(150000);
    else
      delete_explicit_resources();
    EXPECT_EQ(lookup("t", "r"), "(none)");
  }
}

/// Makes up lines and choices, the same ones for the same seed.
class Chance {
public:
  explicit Chance(unsigned seed) : engine(seed) {}

  int below(int count) { return static_cast<int>(engine() % static_cast<unsigned>(count)); }
  std::string tool() { return std::string(1, static_cast<char>('a' + below(3))); }
  std::string name() { return std::string(1, static_cast<char>('p' + below(4))); }
  std::string value() { return std::to_string(below(1000)); }
  T_resource_source source() { return static_cast<T_resource_source>(below(3)); }

private:
  std::mt19937 engine;
};

struct known_t {
  std::string value;
  T_resource_source source;
};

/// What the manager should hold, told by the rules of precedence alone.
using model_t = std::map<std::pair<std::string, std::string>, known_t>;

void forget(model_t &model, T_resource_source source) {
  for (auto it = model.begin(); it != model.end();)
    it = it->second.source == source ? model.erase(it) : std::next(it);
}

/// A few lines, with the definitions among them entered in `model`.
std::string someLines(Chance &chance, T_resource_source source, model_t &model) {
  std::string lines;
  for (int i = chance.below(6); i > 0; --i) {
    const std::string tool = chance.tool();
    const std::string name = chance.name();
    const std::string value = chance.value();
    const char *const continuations[] = {"", "\\\n", "\\\n\\\n"};
    const int form = chance.below(5);
    if (form == 3)
      lines += "\n";
    if (form == 4)
      lines += "! comment\n";
    if (form >= 3)
      continue;
    lines.append("MVL*").append(tool).append(".").append(name).append(":");
    lines.append(continuations[form]).append(value).append(" \\\n");
    model[{tool, name}] = {value, source};
  }
  return lines;
}

TEST_F(ResourceLinks, RandomUseFollowsTheRulesOfPrecedence) {
  const std::string home = directory.path().toStdString();
  const HomeDirectory homeDirectory(home.c_str());
  const auto hasFile = [](T_resource_source source) { return manager().get_file(source); };
  Chance chance(20240917);
  model_t model;
  for (int step = 0; step < 4000; ++step) {
    SCOPED_TRACE(step);
    const T_resource_source source = chance.source();
    const std::string tool = chance.tool();
    const std::string name = chance.name();
    switch (chance.below(12)) {
    case 0:
    case 1:
    case 2: {
      if (source != RESOURCE_SOURCE_EXPLICIT)
        forget(model, source);
      const std::string lines = someLines(chance, source, model);
      load(source, "file" + std::to_string(source), lines);
      break;
    }
    case 3:
      forget(model, source);
      manager().delete_file(source);
      break;
    case 4:
      delete_resource(tool.c_str(), name.c_str());
      model.erase({tool, name});
      break;
    case 5:
      delete_tool_resources(tool.c_str());
      for (const char *each : {"p", "q", "r", "s"})
        model.erase({tool, each});
      break;
    default: {
      const std::string value = chance.value();
      const T_resource_source target =
          hasFile(RESOURCE_SOURCE_EXPLICIT) ? RESOURCE_SOURCE_EXPLICIT : RESOURCE_SOURCE_USER;
      set_resource(tool.c_str(), name.c_str(), value.c_str());
      model[{tool, name}] = {value, target};
    }
    }
    checkLinks();
    for (const char *eachTool : {"a", "b", "c"}) {
      for (const char *eachName : {"p", "q", "r", "s"}) {
        const auto known = model.find({eachTool, eachName});
        const bool isKnown = known != model.end();
        ASSERT_EQ(lookup(eachTool, eachName), isKnown ? known->second.value : "(none)")
            << eachTool << eachName;
        if (isKnown) {
          ASSERT_EQ(find(eachTool, eachName)->line->file()->source, known->second.source);
        }
      }
    }
  }
}

TEST_F(ResourceLinks, TheSavedFileReadsBackTheSame) {
  Chance chance(7);
  model_t model;
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    clear();
    load(RESOURCE_SOURCE_EXPLICIT, "explicit",
         someLines(chance, RESOURCE_SOURCE_EXPLICIT, model) + "MVL*t*x: \\\nmvl\n");
    for (int i = chance.below(5); i > 0; --i)
      set_resource(chance.tool().c_str(), chance.name().c_str(), chance.value().c_str());
    set_resource("t", "x", chance.value().c_str()); // Continued so far, one line after this.
    save_resources();
    const std::string before = printed();
    const std::string text = textOf(RESOURCE_SOURCE_EXPLICIT);
    const std::string path = directory.bytePath("explicit");
    clear();
    load_resources(nullptr, nullptr, path.c_str());
    EXPECT_EQ(textOf(RESOURCE_SOURCE_EXPLICIT), text);
    for (std::istringstream lines(before); lines;) {
      std::string line;
      std::getline(lines, line);
      EXPECT_THAT(printed(), testing::HasSubstr(line + "\n")) << text;
      if (line.empty())
        break;
    }
  }
}

/// One step of use that nobody would call sensible: lines replaced behind the parser's back,
/// analysis from anywhere, files that end inside a definition.
void disturb(Chance &chance, T_resource_file *file) {
  const int number = chance.below(20);
  const char *const texts[] = {"! note", "MVL*a*p: 1", "MVL*a*p: \\", "\\", "MVL*b*q: \\", "value"};
  switch (chance.below(3)) {
  case 0:
    file->set_line(number, texts[chance.below(6)]);
    break;
  case 1:
    file->delete_line(number);
    break;
  default:
    syntax_analysis(file->get_line(number));
  }
}

TEST_F(ResourceLinks, SurviveRandomAbuse) {
  Chance chance(99);
  for (int step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    testing::internal::CaptureStderr();
    T_resource_file *file = manager().get_file(chance.source());
    if (!file)
      file = manager().set_file("file", chance.source());
    const int action = chance.below(60);
    if (action == 0)
      manager().delete_file(chance.source());
    else if (action == 1)
      delete_tool_resources(nullptr);
    else if (action < 5)
      delete_resource("a", "p");
    else if (action < 10)
      set_resource(chance.tool().c_str(), "q", "set");
    else
      disturb(chance, file);
    testing::internal::GetCapturedStderr();
    checkLinks();
    if (HasFailure())
      return;
  }
}

} // namespace
