#ifndef KELVARUNE_GOALS_POGTEXT_H
#define KELVARUNE_GOALS_POGTEXT_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

/// Texts and tags of a POG; see PogFile.h.
namespace kelvarune::goals {

/// `text` as the value of an attribute in double quotes, as the content of an element, where lines
/// stay lines, or for people.
enum class place_t { ATTRIBUTE, CONTENT, MESSAGE };
std::string encoded(std::string_view text, place_t place);

/// The text that was encoded. Nothing when it is not what `encoded` gives.
std::optional<std::string> decoded(std::string_view text);

/// The attributes of a start tag `<name a="b" ...>` or `<name ... />`. Nothing when `tag` is not
/// one, or not one of that name.
std::optional<std::map<std::string, std::string>> attributesOf(std::string_view tag,
                                                               std::string_view name);

} // namespace kelvarune::goals

#endif
