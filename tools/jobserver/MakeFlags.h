#ifndef KELVARUNE_JOBSERVER_MAKEFLAGS_H
#define KELVARUNE_JOBSERVER_MAKEFLAGS_H

#include <string>

/// What the variable MAKEFLAGS says of a jobserver. GNU make documents its form under "Integrating
/// GNU make".
namespace kelvarune::jobserver {

struct server_t {
  enum class form_t { NONE, PIPE, FIFO };

  form_t form = form_t::NONE;
  int readEnd = -1;      ///< of a pipe that is inherited; negative where make kept it for itself
  int writeEnd = -1;     ///< likewise
  std::string path;      ///< of a named pipe
  unsigned int jobs = 0; ///< of the whole budget; 0: not told
};

/// The jobserver that `makeFlags` names: the last one, as make appends.
server_t serverIn(const std::string &makeFlags);

/// Whether make only tells what it would do, and wants the same of the programs that it runs.
bool isDryRun(const std::string &makeFlags);

/// `makeFlags` with this jobserver, a pipe, in the place of any other.
std::string withServer(const std::string &makeFlags, const server_t &server);

} // namespace kelvarune::jobserver

#endif
