#ifndef KELVARUNE_PROJECT_COMPONENTS_H
#define KELVARUNE_PROJECT_COMPONENTS_H

#include "project/Project.h"
#include "project/ProjectFile.h"

namespace kelvarune::project {

/// Fills in the components of the project, whose directory is set, and the names of those that the
/// file leaves out.
void addComponents(const project_file_t &file, project_t &project, Faults &faults);

} // namespace kelvarune::project

#endif
