#include "Portfolio.h"

#include "PogFile.h"

#include <map>

namespace kelvarune::goals {

std::variant<std::vector<std::string>, std::string> portfolioFor(const std::string &pogPath) {
  const auto pog = PogFile::open(pogPath);
  if (const auto *fault = std::get_if<std::string>(&pog))
    return *fault;
  std::map<language_t, bool> languages;
  const auto fault = std::get<PogFile>(pog).visit(
      {nullptr, [&languages](const goal_ref_t &goal) { languages[goal.language] = true; }});
  if (fault)
    return *fault;
  std::vector<std::string> mechanisms;
  if (languages[language_t::SMTLIB])
    mechanisms.emplace_back("portfolio");
  if (languages[language_t::TPTP])
    mechanisms.emplace_back("portfolio-tptp");
  return mechanisms;
}

} // namespace kelvarune::goals
