#ifndef KELVARUNE_PROCESS_STARTUP_H
#define KELVARUNE_PROCESS_STARTUP_H

#include <sys/resource.h>

namespace kelvarune::process {

/// Puts the process into the state that the libraries count on. Call first in main, before any
/// other thread exists and before anything of Qt is used.
///
/// - Each of the descriptors 0, 1 and 2 that the caller left closed gets the null device, so that
///   no file and no pipe to a tool gets such a number.
/// - As many descriptors may be open as the system permits, up to 65,536; ToolProcess gives tools
///   the limit that the caller had.
/// - SIGCHLD is not ignored, which would hide how tools end.
/// - SIGXFSZ is ignored: a file that the user's limits do not let grow (ulimit -f) is a failed
/// write
///   and not the end. ToolProcess gives tools the default back.
/// - Texts of the system are UTF-8, in every locale.
/// - The same XML document is always written with its attributes in one order.
/// - Memory that is freed merges at once. The allocator would set small chunks aside and merge them
///   all when it next needs room: half a second after a document of 50,000 goals is gone.
void startUp();

/// The caller's limit of descriptors; null when startUp has not found it out.
const rlimit *descriptorLimitForTools();

} // namespace kelvarune::process

#endif
