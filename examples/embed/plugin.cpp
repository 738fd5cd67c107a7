// A plug-in that knows kelvarune, for programs that do not: one function with C linkage.

#include "director/ProofDirector.h"
#include "resource/ResourceManager.h"

#include <memory>

/// Registers the mechanism in the status file and plays its drivers, one run at a time; tools are
/// searched in the directory `tools`. The number of goals that are not proved then, or -1 when the
/// mechanism cannot be used. To be called once at a time.
extern "C" long play_mechanism(const char *mechanism, const char *pos, const char *pog,
                               const char *workdir, const char *tools) {
  init_resource_manager(); // the first call counts
  const auto director = std::make_unique<ProofDirector>("plugin", mechanism, pos, pog, workdir,
                                                        std::vector<std::string>{tools, "/usr/bin"},
                                                        false, 1U, 0, "", "", false);
  if (!director->isLoaded())
    return -1;
  director->play();
  return static_cast<long>(director->getUnprovedCount());
}
