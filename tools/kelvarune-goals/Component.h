#ifndef KELVARUNE_TOOLS_GOALS_COMPONENT_H
#define KELVARUNE_TOOLS_GOALS_COMPONENT_H

#include "goals/PogFile.h"
#include "pos/Sync.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

/// The two files of a component, from one name to what is in them.
namespace component {

/// "NAME.pog" of NAME, which may have that suffix already.
std::string pogPathOf(const std::string &name);
/// The status file beside a POG.
std::string posPathOf(const std::string &pogPath);

/// Whether a file is there that this program has not made, after a complaint.
bool isAnothers(const std::string &pogPath);

/// Opens a POG of this program; nothing, after a complaint, when it is none.
std::optional<kelvarune::goals::PogFile> open(const std::string &pogPath);

/// "FILE:LINE", for people: what is no UTF-8 is "%" and digits.
QString sourceOf(const kelvarune::goals::goal_ref_t &goal);

/// The goals as a status file has them. False, after a complaint, when the POG is damaged.
bool readList(const kelvarune::goals::PogFile &pog, std::vector<pos::listed_obligation_t> &list);

/// Writes a status file of goals that nobody has tried yet. False, with the reason in errno, or
/// after a complaint and with errno 0 when the POG is damaged.
bool writeFresh(const kelvarune::goals::PogFile &pog, int fd);

/// Whether both hold the same goals in the same places, though perhaps on other lines.
bool haveSameGoals(const kelvarune::goals::PogFile &first, const kelvarune::goals::PogFile &second);

} // namespace component

#endif
