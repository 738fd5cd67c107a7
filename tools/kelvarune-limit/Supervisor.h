#ifndef KELVARUNE_LIMIT_SUPERVISOR_H
#define KELVARUNE_LIMIT_SUPERVISOR_H

#include "file/Descriptor.h"
#include "kelvarune-limit/Options.h"

#include <signal.h>
#include <sys/types.h>

namespace limit {

/// The process between the wrapper and the prover. It starts the prover, watches over it and ends
/// it with all that it has started, at its limits and when the wrapper asks for it or dies.
///
/// Forked by `parent` with the signals blocked on which the wrapper acts, it runs this function.
/// The prover gets the signal mask `mask`; an outcome_t goes into `outcomes` once nothing is left,
/// or what is left cannot be killed.
[[noreturn]] void supervise(const options_t &options, kelvarune::file::Descriptor outcomes,
                            const sigset_t &mask, pid_t parent);

} // namespace limit

#endif
