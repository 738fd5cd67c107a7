#ifndef KELVARUNE_TOOLS_GOALS_TEXTS_H
#define KELVARUNE_TOOLS_GOALS_TEXTS_H

#include "goals/Language.h"

#include <functional>
#include <string>
#include <vector>

/// The languages behind one door. `path` is where the text stands, for what it includes.

/// As scanSmt and scanTptp.
std::optional<kelvarune::goals::fault_t> scan(kelvarune::goals::language_t language,
                                              const std::string &text, const std::string &path,
                                              const kelvarune::goals::visit_t &visit);

/// Gives the own script of each of the checks, which are in ascending order, with its number among
/// them; nothing for those that the text does not have with their digests.
void visitTexts(kelvarune::goals::language_t language, const std::string &text,
                const std::string &path, const std::vector<kelvarune::goals::check_t> &checks,
                const std::function<void(std::size_t, const std::string &)> &visit);

#endif
