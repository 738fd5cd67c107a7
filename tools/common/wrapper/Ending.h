#ifndef KELVARUNE_TOOLS_COMMON_WRAPPER_ENDING_H
#define KELVARUNE_TOOLS_COMMON_WRAPPER_ENDING_H

/// How a program ends that stands before a prover.
namespace wrapper {

/// The exit statuses when the prover did not come to its end.
enum status_t : int {
  STATUS_PROCESSOR_LIMIT = 122, ///< these three of kelvarune-limit only
  STATUS_MEMORY_LIMIT = 123,
  STATUS_TIME_LIMIT = 124,  ///< from here on as env, nohup and timeout have them
  STATUS_OWN_FAILURE = 125, ///< of the wrapper
  STATUS_CANNOT_RUN = 126,
  STATUS_NOT_FOUND = 127
};

/// The exit status for a prover that cannot be run for this errno value.
int statusOfError(int error);

/// Ends this process as a prover ended: by the same signal (0: none), without a second core file,
/// or with the same exit status.
[[noreturn]] void endLike(int signal, int status);

} // namespace wrapper

#endif
