#include "Making.h"

#include "Paths.h"
#include "Texts.h"
#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

namespace {

goals::pog_header_t headerOf(const recipe_t &recipe) {
  goals::pog_header_t header;
  header.component = recipe.component;
  header.base = paths::relativePath(recipe.base, recipe.directory);
  for (const std::string &source : recipe.sources)
    header.sources.push_back(paths::relativePath(source, recipe.directory));
  header.groupByDirectory = recipe.groupByDirectory;
  header.embed = recipe.embed;
  header.skipBroken = recipe.skipBroken;
  return header;
}

} // namespace

recipe_t recipeOf(const goals::pog_header_t &header, const std::string &directory) {
  recipe_t recipe;
  const auto absolute = [&directory](const std::string &path) {
    return paths::absolutePath(path.empty() || path[0] != '/' ? directory + '/' + path : path);
  };
  recipe.directory = directory;
  recipe.component = header.component;
  recipe.base = absolute(header.base);
  for (const std::string &source : header.sources)
    recipe.sources.push_back(absolute(source));
  recipe.groupByDirectory = header.groupByDirectory;
  recipe.embed = header.embed;
  recipe.skipBroken = header.skipBroken;
  recipe.mayBeGone = true;
  return recipe;
}

Maker::Maker(const recipe_t &recipe, int fd)
    : recipe(recipe), up(paths::relativePath(recipe.base, recipe.directory)),
      writer(fd, headerOf(recipe)) {}

bool Maker::make() {
  ReadAhead files([this](Search &search) {
    for (const std::string &source : recipe.sources) {
      if (!recipe.mayBeGone || !paths::realPath(source).empty())
        search.search(source, recipe.base);
    }
  });
  for (auto items = files.take(); !items.empty(); items = files.take()) {
    for (ReadAhead::item_t &item : items) {
      if (item.fault)
        refuse(item.file.path, QString::fromStdString(*item.fault));
      else
        take(item.file, item.text ? *std::move(item.text) : readTwice(item.file.path));
    }
  }
  return writer.finish();
}

void Maker::refuse(const std::string &path, const QString &what) {
  faultLines << QString::fromStdString(path) + ": "_s + what;
}

void Maker::take(const found_file_t &file, const file_text_t &read) {
  if (const auto *error = std::get_if<goals::source_error_t>(&read))
    return refuse(file.path, "cannot be read: "_s + QString::fromStdString(error->text));
  const auto mark = writer.mark();
  const std::optional<std::string> groupBefore = group;
  const std::size_t before = writer.goalCount();
  const bool isSound = takeGoals(file, std::get<std::string>(read));
  if (isSound && writer.goalCount() > before)
    return;
  emptyFiles += isSound ? 1 : 0;
  writer.goBack(mark);
  group = groupBefore;
}

bool Maker::takeGoals(const found_file_t &file, const std::string &text) {
  beginObligation(file);
  const std::string ownFile =
      recipe.groupByDirectory ? paths::joined(up, file.below) : std::string();
  const auto add = [&](const goals::check_t &check, const std::optional<std::string> &script) {
    writer.goal(check, ownFile, file.language, script);
  };
  std::vector<goals::check_t> embedded;
  const auto fault = scan(file.language, text, file.path, [&](const goals::check_t &check) {
    if (recipe.embed)
      embedded.push_back(check);
    else
      add(check, std::nullopt);
  });
  if (fault) {
    faultLines << placed(QString::fromStdString(file.path), static_cast<int>(fault->line),
                         static_cast<int>(fault->column)) +
                      QString::fromStdString(fault->text);
    return false;
  }
  std::size_t added = 0;
  visitTexts(file.language, text, file.path, embedded, [&](std::size_t i, const std::string &own) {
    add(embedded[i], own);
    ++added;
  });
  if (added < embedded.size())
    refuse(file.path, "its goals cannot be told apart"_s);
  return added == embedded.size();
}

void Maker::beginObligation(const found_file_t &file) {
  const std::string path = paths::joined(up, file.below);
  if (!recipe.groupByDirectory)
    return writer.obligation(tags.tagFor(withoutSuffix(file.below)), path, file.language);
  const std::string directory = paths::parentOf(file.below);
  if (directory == group)
    return;
  group = directory;
  writer.obligation(tags.tagFor(directory == "." ? paths::nameOf(recipe.base) : directory), {},
                    file.language);
}
