// What the languages share: which file is of which, and how places are told.

#include "Language.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelvarune::goals {

std::optional<language_t> languageOf(std::string_view fileName) {
  static constexpr std::pair<std::string_view, language_t> SUFFIXES[] = {
      {".smt2", language_t::SMTLIB}, {".smt", language_t::SMTLIB}, {".p", language_t::TPTP},
      {".tptp", language_t::TPTP},   {".ax", language_t::TPTP},
  };
  const auto *const found =
      std::find_if(std::begin(SUFFIXES), std::end(SUFFIXES), [fileName](const auto &suffix) {
        const std::string_view text = suffix.first;
        return fileName.size() > text.size() &&
               fileName.substr(fileName.size() - text.size()) == text;
      });
  if (found == std::end(SUFFIXES))
    return std::nullopt;
  return found->second;
}

fault_t faultAt(std::string_view text, std::size_t offset, std::string what) {
  const std::string_view before = text.substr(0, offset);
  const auto line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  const std::size_t lineBegin = before.rfind('\n') + 1; // 0 without a line feed before
  return {line + 1, offset - lineBegin + 1, std::move(what)};
}

std::size_t LineCounter::lineOf(std::size_t offset) {
  const std::string_view more = text.substr(counted, offset - counted);
  line += static_cast<std::size_t>(std::count(more.begin(), more.end(), '\n'));
  counted = offset;
  return line;
}

} // namespace kelvarune::goals
