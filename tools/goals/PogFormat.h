#ifndef KELVARUNE_GOALS_POGFORMAT_H
#define KELVARUNE_GOALS_POGFORMAT_H

#include "Language.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

/// The parts of a POG whose bytes are fixed; see PogFile.h.
namespace kelvarune::goals::pog {

constexpr std::string_view XML = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view ROOT = "<pog format=\"kelvarune-goals-1\"";
constexpr std::string_view END = "</index>\n</pog>\n";

constexpr std::string_view INDEX_FORMAT = "<index obligations=\"%015llu\" goals=\"%015llu\">\n";
constexpr std::string_view LINE_FORMAT = "%015llu %015llu\n";
constexpr std::string_view TRAILER_FORMAT = "<!-- kelvarune-goals index at %015llu -->\n";
constexpr std::size_t LINE_SIZE = 32;

inline std::string formatted(std::string_view format, std::uint64_t first,
                             std::uint64_t second = 0) {
  std::array<char, 128> text = {};
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): one of the three formats above
  const int size =
      std::snprintf(text.data(), text.size(), format.data(), static_cast<unsigned long long>(first),
                    static_cast<unsigned long long>(second));
  return {text.data(), static_cast<std::size_t>(size)};
}

inline std::string indexTag(std::uint64_t obligations, std::uint64_t goals) {
  return formatted(INDEX_FORMAT, obligations, goals);
}

inline std::string indexLine(std::uint64_t first, std::uint64_t second) {
  return formatted(LINE_FORMAT, first, second);
}

inline std::string trailer(std::uint64_t index) {
  return formatted(TRAILER_FORMAT, index);
}

inline std::string_view nameOf(language_t language) {
  return language == language_t::SMTLIB ? "smtlib" : "tptp";
}

} // namespace kelvarune::goals::pog

#endif
