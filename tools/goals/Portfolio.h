#ifndef KELVARUNE_GOALS_PORTFOLIO_H
#define KELVARUNE_GOALS_PORTFOLIO_H

#include "Language.h"

#include <string>
#include <variant>
#include <vector>

namespace kelvarune::goals {

/// The installed mechanism for goals of a language.
std::string portfolioOf(language_t language);

/// The installed mechanisms that play the goals of a POG of kelvarune-goals when nobody names
/// others: one for each language that there are goals in. A message of one line when the file
/// cannot be read.
std::variant<std::vector<std::string>, std::string> portfolioFor(const std::string &pogPath);

} // namespace kelvarune::goals

#endif
