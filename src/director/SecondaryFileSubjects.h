#ifndef KELVARUNE_DIRECTOR_SECONDARYFILESUBJECTS_H
#define KELVARUNE_DIRECTOR_SECONDARYFILESUBJECTS_H

#include "mechanism/Mechanism.h"

#include <string>
#include <vector>

namespace kelvarune {

/// What a run must have the locks on (file::RunLock) while it plays `mechanism`, so that no other
/// run writes secondary files of the same names: paths in `directory`, one for each driver or for
/// several whose files could have one name. In the order in which the locks are to be taken.
/// `pogPath` is the file of the obligations, whose base name is part of the names.
std::vector<std::string> secondaryFileSubjects(const std::string &directory,
                                               const std::string &pogPath,
                                               const mechanism::mechanism_t &mechanism);

} // namespace kelvarune

#endif
