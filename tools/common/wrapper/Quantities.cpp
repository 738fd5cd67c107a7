#include "wrapper/Quantities.h"

#include <limits>

namespace wrapper {

namespace {

constexpr int PREFIXES = 5;
const char PREFIX_OF_POWER[PREFIXES] = {'\0', 'K', 'M', 'G', 'T'};
constexpr double MOST_SECONDS = 1e9;

} // namespace

bool parseSize(QString text, std::uint64_t &bytes) {
  std::uint64_t unit = 1;
  for (int power = 1; power < PREFIXES; ++power) {
    if (text.endsWith(QLatin1Char(PREFIX_OF_POWER[power]), Qt::CaseInsensitive)) {
      text.chop(1);
      unit = std::uint64_t(1) << (10 * power);
      break;
    }
  }
  bool isNumber = false;
  const std::uint64_t number = text.toULongLong(&isNumber);
  bytes = number * unit;
  return isNumber && number <= std::numeric_limits<std::uint64_t>::max() / unit;
}

bool parseSeconds(const QString &text, std::chrono::milliseconds &time) {
  bool isNumber = false;
  const double seconds = text.toDouble(&isNumber);
  if (!isNumber || !(seconds >= 0 && seconds <= MOST_SECONDS))
    return false;
  time = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  return true;
}

} // namespace wrapper
