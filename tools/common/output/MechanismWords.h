#ifndef KELVARUNE_TOOLS_COMMON_OUTPUT_MECHANISMWORDS_H
#define KELVARUNE_TOOLS_COMMON_OUTPUT_MECHANISMWORDS_H

#include "mechanism/Faults.h"

#include <QString>

/// What is wrong with a mechanism description and what helps: one sentence, without the place.
QString textOf(const mechanism::fault_t &fault);

#endif
