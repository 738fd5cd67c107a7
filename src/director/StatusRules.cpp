// How far a mechanism is trusted decides what a proof is worth: never more than "unreliable",
// always a proof, or (redundancy) a proof once a second driver confirms it. A disproof always
// counts.

#include "director/StatusRules.h"

using mechanism::trust_t;

namespace {

pos::status_t worthOfProof(trust_t trust, pos::status_t current) {
  switch (trust) {
  case trust_t::NEVER:
    return pos::UNRELIABLY_PROVED;
  case trust_t::ALWAYS:
    return pos::PROVED;
  case trust_t::REDUNDANCY:
    break;
  }
  return current == pos::UNRELIABLY_PROVED ? pos::PROVED : pos::UNRELIABLY_PROVED;
}

} // namespace

mechanism_update_t nextMechanismStatus(const QString &verdict, bool last, trust_t trust,
                                       pos::status_t current) {
  if (verdict == pos::ATTR_VALUE_UNKNOWN) {
    if (!last)
      return {current, false};
    return {pos::UNKNOWN, current != pos::UNKNOWN};
  }
  if (verdict == pos::ATTR_VALUE_DISPROVED)
    return {pos::DISPROVED, current != pos::DISPROVED};
  const pos::status_t next = worthOfProof(trust, current);
  return {next, trust == trust_t::REDUNDANCY || next != current};
}

bool concludesGoal(const QString &verdict, trust_t trust, pos::status_t current) {
  if (verdict == pos::ATTR_VALUE_DISPROVED)
    return true;
  return verdict == pos::ATTR_VALUE_PROVED &&
         (trust != trust_t::REDUNDANCY || current == pos::UNRELIABLY_PROVED);
}

bool goalFollows(const QString &goalStatus, pos::status_t mechanismStatus) {
  if (mechanismStatus == pos::UNPROVED || mechanismStatus == pos::UNKNOWN)
    return false;
  if (goalStatus == pos::ATTR_VALUE_UNPROVED)
    return true;
  return goalStatus == pos::ATTR_VALUE_UNRELIABLY_PROVED &&
         (mechanismStatus == pos::PROVED || mechanismStatus == pos::DISPROVED);
}
