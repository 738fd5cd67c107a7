#ifndef KELVARUNE_PROJECT_OPTIONS_H
#define KELVARUNE_PROJECT_OPTIONS_H

#include "project/Project.h"

#include <QCommandLineOption>

#include <optional>

namespace kelvarune::project {

/// --config FILE and --no-config, as all programs have them.
const QCommandLineOption &configOption();
const QCommandLineOption &noConfigOption();

/// What the two say.
struct choice_t {
  std::optional<QString> config; ///< the value of --config
  bool none = false;             ///< --no-config
};

/// The project to work on: the named one, or the one at or above the working directory. Nothing
/// without faults: there is none.
///
/// A project runs programs. So one found above the working directory must belong to the user, to
/// root, or to whom the working directory belongs; else that is a fault.
std::optional<project_t> fromOptions(const choice_t &choice, QStringList &faults);

} // namespace kelvarune::project

#endif
