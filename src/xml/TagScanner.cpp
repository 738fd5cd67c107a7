// Each construct of XML that may hold a "<" which opens no element has its own end: "-->", "]]>",
// "?>", and for a document type the ">" outside its internal subset. Skipping to that end and
// respecting the quotes inside tags is all there is to it.

#include "xml/TagScanner.h"

#include <algorithm>

namespace kelvarune::xml {

namespace {

bool startsWith(std::string_view text, std::size_t at, std::string_view prefix) {
  return text.compare(at, prefix.size(), prefix) == 0;
}

} // namespace

bool TagScanner::next(tag_t &tag) {
  for (;;) {
    at = bytes.find('<', at);
    if (at == std::string_view::npos)
      return false;
    bool ended = true;
    if (startsWith(bytes, at, "<!--"))
      ended = skipPast("-->");
    else if (startsWith(bytes, at, "<![CDATA["))
      ended = skipPast("]]>");
    else if (startsWith(bytes, at, "<?"))
      ended = skipPast("?>");
    else if (startsWith(bytes, at, "<!"))
      ended = skipDoctype();
    else
      return scanTag(tag);
    if (!ended)
      return false;
  }
}

bool TagScanner::skipPast(std::string_view end) {
  // Past the longest opening mark that shares characters with the end: "<!-->" is no comment.
  const std::size_t from = at + (end == "-->" ? 4 : 2);
  const std::size_t found = bytes.find(end, from);
  if (found == std::string_view::npos)
    return false;
  at = found + end.size();
  return true;
}

bool TagScanner::skipDoctype() {
  std::size_t brackets = 0;
  for (at += 2; at < bytes.size(); ++at) {
    const char c = bytes[at];
    if (c == '"' || c == '\'') {
      at = bytes.find(c, at + 1);
      if (at == std::string_view::npos)
        return false;
    } else if (startsWith(bytes, at, "<!--")) {
      if (!skipPast("-->"))
        return false;
      --at;
    } else if (startsWith(bytes, at, "<?")) {
      if (!skipPast("?>"))
        return false;
      --at;
    } else if (c == '[') {
      ++brackets;
    } else if (c == ']' && brackets > 0) {
      --brackets;
    } else if (c == '>' && brackets == 0) {
      ++at;
      return true;
    }
  }
  return false;
}

bool TagScanner::scanTag(tag_t &tag) {
  tag.begin = at;
  const bool close = startsWith(bytes, at, "</");
  const std::size_t nameBegin = at + (close ? 2 : 1);
  const std::size_t nameEnd = std::min(bytes.find_first_of(" \t\r\n/>", nameBegin), bytes.size());
  tag.name = bytes.substr(nameBegin, nameEnd - nameBegin);
  for (at = nameEnd; at < bytes.size(); ++at) {
    const char c = bytes[at];
    if (c == '"' || c == '\'') {
      at = bytes.find(c, at + 1);
      if (at == std::string_view::npos)
        return false;
    } else if (c == '>') {
      const bool empty = bytes[at - 1] == '/';
      tag.kind = close ? tag_kind_t::CLOSE : empty ? tag_kind_t::EMPTY : tag_kind_t::OPEN;
      tag.end = ++at;
      return true;
    }
  }
  return false;
}

std::size_t nestingDepth(std::string_view bytes) {
  TagScanner scanner(bytes);
  tag_t tag;
  std::size_t depth = 0;
  std::size_t deepest = 0;
  while (scanner.next(tag)) {
    if (tag.kind == tag_kind_t::CLOSE) {
      depth -= depth > 0 ? 1 : 0;
      continue;
    }
    deepest = std::max(deepest, depth + 1);
    depth += tag.kind == tag_kind_t::OPEN ? 1 : 0;
  }
  return deepest;
}

} // namespace kelvarune::xml
