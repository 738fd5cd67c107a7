#include "Portfolio.h"

#include "PogFile.h"

#include <set>

namespace kelvarune::goals {

std::string portfolioOf(language_t language) {
  return language == language_t::SMTLIB ? "portfolio" : "portfolio-tptp";
}

std::variant<std::vector<std::string>, std::string> portfolioFor(const std::string &pogPath) {
  const auto pog = PogFile::open(pogPath);
  if (const auto *fault = std::get_if<std::string>(&pog))
    return *fault;
  std::set<language_t> languages;
  const auto fault = std::get<PogFile>(pog).visit(
      {nullptr, [&languages](const goal_ref_t &goal) { languages.insert(goal.language); }});
  if (fault)
    return *fault;
  std::vector<std::string> mechanisms;
  for (const language_t language : languages)
    mechanisms.push_back(portfolioOf(language));
  return mechanisms;
}

} // namespace kelvarune::goals
