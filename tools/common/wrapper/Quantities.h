#ifndef KELVARUNE_TOOLS_COMMON_WRAPPER_QUANTITIES_H
#define KELVARUNE_TOOLS_COMMON_WRAPPER_QUANTITIES_H

#include <QString>

#include <chrono>
#include <cstdint>

namespace wrapper {

/// Reads a whole number of bytes, with K, M, G or T for powers of 1024. False when it is none.
bool parseSize(QString text, std::uint64_t &bytes);

/// Reads a number of seconds, perhaps with a fraction. False when it is none.
bool parseSeconds(const QString &text, std::chrono::milliseconds &time);

} // namespace wrapper

#endif
