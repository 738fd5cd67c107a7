// What the library says of descriptions, in words.

#include "output/MechanismWords.h"

#include "output/Output.h"
#include "text/Literals.h"

using namespace kelvarune;

QString textOf(const mechanism::fault_t &fault) {
  using mechanism::fault_kind_t;
  const QString tool = "%1 of driver %2"_s.arg(fault.role, shown(fault.driver));
  switch (fault.kind) {
  case fault_kind_t::UNREADABLE:
    return "cannot be read; give a description file."_s;
  case fault_kind_t::MALFORMED:
    return "not well-formed XML (%1); correct it."_s.arg(fault.text);
  case fault_kind_t::NO_MECHANISM:
    return "has no element 'mechanism'; it is no mechanism description."_s;
  case fault_kind_t::MISSING_TOOL:
    return tool + " is missing; describe it."_s;
  case fault_kind_t::TOOL_NOT_FOUND:
    if (fault.text.isEmpty())
      return tool + " has no 'path', nor a 'resource' with a value; give it a path."_s;
    return tool + " not found; looked for the executable "_s + fault.text +
           (fault.places.isEmpty() ? QString() : " in "_s + fault.places.join(", "_s)) +
           "; install it, or name its place with --installdir or a resource file."_s;
  case fault_kind_t::UNKNOWN_WORD:
    return "%1 '%2' does not exist; there are %3."_s.arg(fault.name, fault.text,
                                                         fault.known.join(", "_s));
  case fault_kind_t::UNKNOWN_DEFINITION:
    break;
  }
  return "there is no definition '%1' to expand; only the first 'definition' counts."_s.arg(
      fault.text);
}
