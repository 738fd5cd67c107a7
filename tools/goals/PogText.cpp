// A writer's choice among the many ways of writing XML, and a reader of exactly that choice: what
// another program has written anew is refused and not misread.

#include "PogText.h"

#include <array>
#include <cstddef>

namespace kelvarune::goals {

namespace {

/// How many bytes at the start of `text` are one character that XML may hold; 0 for none.
std::size_t characterIn(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80)
    return lead >= 0x20 && lead != 0x7f ? 1 : 0;
  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < length)
    return 0;
  unsigned long character = lead & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0U) != 0x80)
      return 0;
    character = character << 6U | (byte(i) & 0x3fU);
  }
  constexpr std::array<unsigned long, 5> LEAST = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
  const bool isNone = character == 0xfffe || character == 0xffff || character > 0x10ffff;
  return character < LEAST.at(length) || isSurrogate || isNone ? 0 : length;
}

constexpr std::string_view HEX = "0123456789ABCDEF";

struct entity_t {
  char character;
  std::string_view text;
};
constexpr entity_t ENTITIES[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};

std::string_view entityOf(char character) {
  for (const entity_t &entity : ENTITIES) {
    if (entity.character == character)
      return entity.text;
  }
  return {};
}

/// The byte after a "%" at the start of `text`.
std::optional<char> percentByte(std::string_view text) {
  const auto high = text.size() < 3 ? std::string_view::npos : HEX.find(text[1]);
  const auto low = text.size() < 3 ? std::string_view::npos : HEX.find(text[2]);
  if (high == std::string_view::npos || low == std::string_view::npos)
    return std::nullopt;
  return static_cast<char>(high << 4U | low);
}

bool isNameByte(char byte) {
  return (byte >= 'a' && byte <= 'z') || byte == '-';
}

} // namespace

std::string encoded(std::string_view text, place_t place) {
  std::string result;
  result.reserve(text.size() + text.size() / 8);
  std::size_t plain = 0; // from here on nothing needs another form
  std::size_t at = 0;
  while (at < text.size()) {
    const char byte = text[at];
    const bool isKept = place == place_t::CONTENT && (byte == '\n' || byte == '\t');
    const std::size_t length = isKept ? 1 : byte == '%' ? 0 : characterIn(text.substr(at));
    const std::string_view entity = place == place_t::MESSAGE ? "" : entityOf(byte);
    if (length > 0 && entity.empty()) {
      at += length;
      continue;
    }
    result += text.substr(plain, at - plain);
    const auto value = static_cast<unsigned char>(byte);
    if (entity.empty())
      result += {'%', HEX[value >> 4U], HEX[value & 0xfU]};
    else
      result += entity;
    plain = ++at;
  }
  result += text.substr(plain);
  return result;
}

std::optional<std::string> decoded(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    std::size_t length = 1;
    if (text[0] == '%') {
      const std::optional<char> byte = percentByte(text);
      if (!byte)
        return std::nullopt;
      result += *byte;
      length = 3;
    } else if (text[0] == '&') {
      length = 0;
      for (const entity_t &entity : ENTITIES) {
        if (text.substr(0, entity.text.size()) == entity.text) {
          result += entity.character;
          length = entity.text.size();
        }
      }
      if (length == 0)
        return std::nullopt;
    } else {
      result += text[0];
    }
    text.remove_prefix(length);
  }
  return result;
}

std::optional<std::map<std::string, std::string>> attributesOf(std::string_view tag,
                                                               std::string_view name) {
  std::map<std::string, std::string> attributes;
  if (tag.substr(0, 1) != "<" || tag.substr(1, name.size()) != name)
    return std::nullopt;
  tag.remove_prefix(1 + name.size());
  while (tag.substr(0, 1) == " ") {
    tag.remove_prefix(1);
    std::size_t end = 0;
    while (end < tag.size() && isNameByte(tag[end]))
      ++end;
    if (end == 0 || tag.substr(end, 2) != "=\"")
      return std::nullopt;
    const std::size_t close = tag.find('"', end + 2);
    if (close == std::string_view::npos)
      return std::nullopt;
    std::optional<std::string> value = decoded(tag.substr(end + 2, close - end - 2));
    if (!value || !attributes.emplace(tag.substr(0, end), *std::move(value)).second)
      return std::nullopt;
    tag.remove_prefix(close + 1);
  }
  if (tag != ">" && tag != "/>")
    return std::nullopt;
  return attributes;
}

} // namespace kelvarune::goals
