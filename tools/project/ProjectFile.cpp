// All that knows of TOML. A table says which keys there are, where they may be and what they take;
// whatever is not in it is refused, as a key that is misspelt would else silently do nothing.

#include "project/ProjectFile.h"

#include "commandline/CommandTable.h"
#include "output/Output.h"
#include "text/Literals.h"
#include "wrapper/Quantities.h"

#include <QFile>
#include <QLocale>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include <toml++/toml.h>

namespace kelvarune::project {

namespace {

enum class kind_t { TEXT, LIST, JOBS, SECONDS, SIZE, FLAG };

constexpr unsigned OF_PROJECT = 1;
constexpr unsigned OF_COMPONENT = 2;

struct key_t {
  const char *name;
  kind_t kind;
  unsigned places;
};

constexpr char COMPONENT[] = "component";

constexpr key_t KEYS[] = {
    {"name", kind_t::TEXT, OF_PROJECT},
    {"components", kind_t::LIST, OF_PROJECT},
    {"mechanisms", kind_t::LIST, OF_PROJECT | OF_COMPONENT},
    {"installdir", kind_t::LIST, OF_PROJECT | OF_COMPONENT},
    {"resources", kind_t::LIST, OF_PROJECT | OF_COMPONENT},
    {"jobs", kind_t::JOBS, OF_PROJECT},
    {"time-limit", kind_t::SECONDS, OF_PROJECT | OF_COMPONENT},
    {"memory-limit", kind_t::SIZE, OF_PROJECT | OF_COMPONENT},
    {"cache", kind_t::TEXT, OF_PROJECT | OF_COMPONENT},
    {"reports", kind_t::TEXT, OF_PROJECT},
    {"pog", kind_t::TEXT, OF_COMPONENT},
    {"pos", kind_t::TEXT, OF_COMPONENT},
    {"sources", kind_t::LIST, OF_COMPONENT},
    {"skip", kind_t::FLAG, OF_COMPONENT},
};

const char *wordsFor(kind_t kind) {
  switch (kind) {
  case kind_t::TEXT:
    return "a text that is not empty: \"...\"";
  case kind_t::LIST:
    return "a list of texts that are not empty: [\"...\", \"...\"]";
  case kind_t::JOBS:
    return "a number from 1, or \"auto\"";
  case kind_t::SECONDS:
    return "a number of seconds above 0";
  case kind_t::SIZE:
    return "a number of bytes above 0, or a text with K, M, G or T: \"2G\"";
  case kind_t::FLAG:
    break;
  }
  return "true or false";
}

place_t placeOf(const toml::source_region &source) {
  return {static_cast<int>(source.begin.line), static_cast<int>(source.begin.column)};
}

QString textOf(std::string_view bytes) {
  return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

using texts_t = std::optional<std::vector<text_t>>;

texts_t textsOf(const toml::node &node) {
  const auto *text = node.as_string();
  if (!text || text->get().empty())
    return std::nullopt;
  return {{{textOf(text->get()), placeOf(node.source())}}};
}

texts_t listOf(const toml::node &node) {
  const toml::array *array = node.as_array();
  if (!array)
    return std::nullopt;
  std::vector<text_t> list;
  for (const toml::node &item : *array) {
    const texts_t one = textsOf(item);
    if (!one)
      return std::nullopt;
    list.push_back(one->front());
  }
  return list;
}

/// A number as the command line would have it, or nothing.
QString numberOf(const toml::node &node) {
  if (const auto *integer = node.as_integer())
    return QString::number(integer->get());
  const auto *real = node.as_floating_point();
  return real ? QString::number(real->get(), 'f', QLocale::FloatingPointShortest) : QString();
}

/// The value when it is of the right kind and in its range.
texts_t valueOf(kind_t kind, const toml::node &node) {
  const place_t place = placeOf(node.source());
  const QString text = textOf(node.value<std::string_view>().value_or(""));
  const auto onlyIf = [&place](bool good, const QString &value) {
    return good ? texts_t({{value, place}}) : std::nullopt;
  };
  switch (kind) {
  case kind_t::TEXT:
    return textsOf(node);
  case kind_t::LIST:
    return listOf(node);
  case kind_t::JOBS: {
    const QString jobs = node.is_integer() ? numberOf(node) : text;
    return onlyIf(jobs == "auto"_s || (node.is_integer() && jobs.toInt() >= 1), jobs);
  }
  case kind_t::SECONDS: {
    std::chrono::milliseconds time = {};
    const QString seconds = numberOf(node);
    return onlyIf(wrapper::parseSeconds(seconds, time) && time.count() > 0, seconds);
  }
  case kind_t::SIZE: {
    std::uint64_t bytes = 0;
    const QString size = node.is_integer() ? numberOf(node) : text;
    return onlyIf(wrapper::parseSize(size, bytes) && bytes > 0, size);
  }
  case kind_t::FLAG:
    break;
  }
  const auto *flag = node.as_boolean();
  return flag ? onlyIf(true, flag->get() ? "true"_s : "false"_s) : std::nullopt;
}

class FileReader {
public:
  FileReader(project_file_t &file, Faults &faults) : file(file), faults(faults) {}

  void read(const toml::table &table) {
    for (const auto &[key, node] : table) {
      if (key.str() == COMPONENT)
        readComponents(node);
      else
        readKey(key, node, OF_PROJECT, file.top);
    }
    const auto before = [](const section_t &a, const section_t &b) {
      return std::pair(a.place.line, a.place.column) < std::pair(b.place.line, b.place.column);
    };
    std::sort(file.components.begin(), file.components.end(), before);
  }

private:
  void readComponents(const toml::node &node) {
    const toml::table *components = node.as_table();
    if (!components)
      return faults.add(placeOf(node.source()), "write sections [component.NAME]"_s);
    for (const auto &[name, component] : *components) {
      section_t section;
      section.name = textOf(name.str());
      section.place = placeOf(name.source());
      const toml::table *keys = component.as_table();
      if (!keys) {
        faults.add(section.place,
                   "'%1' is no component; write a section [component.%1]"_s.arg(section.name));
        continue;
      }
      for (const auto &[key, value] : *keys)
        readKey(key, value, OF_COMPONENT, section);
      file.components.push_back(std::move(section));
    }
  }

  void readKey(const toml::key &key, const toml::node &node, unsigned where, section_t &section) {
    const place_t place = placeOf(key.source());
    const QString name = textOf(key.str());
    const auto *known = std::find_if(std::begin(KEYS), std::end(KEYS), [&](const key_t &row) {
      return name == QLatin1String(row.name);
    });
    if (known == std::end(KEYS))
      return faults.add(place, unknownKey(name, node, where, section));
    if ((known->places & where) == 0)
      return faults.add(place, where == OF_PROJECT
                                   ? "'%1' belongs into a section [component.NAME]"_s.arg(name)
                                   : "'%1' is not for one component; it stands before the first "
                                     "section"_s.arg(name));
    const texts_t value = valueOf(known->kind, node);
    if (!value)
      return faults.add(place, "'%1' must be %2"_s.arg(name, QLatin1String(wordsFor(known->kind))));
    section.values[name] = *value;
  }

  static QString unknownKey(const QString &name, const toml::node &node, unsigned where,
                            const section_t &section) {
    QStringList known;
    for (const key_t &key : KEYS)
      if ((key.places & where) != 0)
        known << QLatin1String(key.name);
    if (where == OF_COMPONENT && node.is_table())
      return "unknown section; a name with dots takes quotes: [component.\"%1.%2\"]"_s.arg(
          section.name, name);
    const QString all = "; known are "_s + known.join(", "_s);
    return "unknown key '%1'"_s.arg(name) + commandline::hintFor(name, known, all);
  }

  project_file_t &file;
  Faults &faults;
};

} // namespace

QStringList Faults::lines(const QString &path) const {
  QStringList lines;
  for (const auto &[place, text] : all)
    lines << (place.first > 0 ? placed(path, place.first, place.second) : path + ": "_s) + text;
  return lines;
}

std::vector<text_t> section_t::list(const char *key) const {
  const auto found = values.find(QLatin1String(key));
  return found == values.end() ? std::vector<text_t>() : found->second;
}

QString section_t::text(const char *key) const {
  const std::vector<text_t> texts = list(key);
  return texts.empty() ? QString() : texts.front().text;
}

place_t section_t::placeOf(const char *key) const {
  const std::vector<text_t> texts = list(key);
  return texts.empty() ? place : texts.front().place;
}

project_file_t readProjectFile(const QString &path, Faults &faults) {
  project_file_t read;
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    faults.add({}, "cannot be read: "_s + file.errorString());
    return read;
  }
  const QByteArray bytes = file.readAll();
  try {
    const std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    FileReader(read, faults).read(toml::parse(text));
  } catch (const toml::parse_error &error) {
    faults.add(placeOf(error.source()), textOf(error.description()));
  }
  return read;
}

} // namespace kelvarune::project
