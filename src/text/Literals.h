#ifndef KELVARUNE_TEXT_LITERALS_H
#define KELVARUNE_TEXT_LITERALS_H

#include <QString>

namespace kelvarune {

/// "text"_s is the QString of that text (UTF-8). Made anew at each evaluation: constants that are
/// compared often are QStringLiterals of their own.
inline QString operator""_s(const char *text, std::size_t size) {
  return QString::fromUtf8(text, static_cast<int>(size));
}

} // namespace kelvarune

#endif
