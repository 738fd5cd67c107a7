#ifndef KELVARUNE_XML_TAGSCANNER_H
#define KELVARUNE_XML_TAGSCANNER_H

#include <cstddef>
#include <string_view>

namespace kelvarune::xml {

enum class tag_kind_t { OPEN, CLOSE, EMPTY };

/// One tag of a document: from its "<" (offset `begin`) to just after its ">" (offset `end`).
struct tag_t {
  tag_kind_t kind;
  std::size_t begin;
  std::size_t end;
  std::string_view name;
};

/// Walks the element tags of a document's bytes, in order, and skips everything else: text,
/// comments, CDATA sections, processing instructions and the document type.
///
/// It knows no more of XML than that, so it is fast and needs no stack: it measures documents
/// before a parser recurses over them, and finds the bytes of an element in a document that the XML
/// library wrote. The bytes must be in an encoding whose ASCII characters stand for themselves.
/// Bytes that are not well-formed are scanned as far as they make sense; nothing is reported.
class TagScanner {
public:
  /// `bytes` must outlive the scanner and the tags that it returns.
  explicit TagScanner(std::string_view bytes) : bytes(bytes) {}

  /// Finds the next tag. False at the end of the document.
  bool next(tag_t &tag);

private:
  bool skipPast(std::string_view end);
  bool skipDoctype();
  bool scanTag(tag_t &tag);

  std::string_view bytes;
  std::size_t at = 0;
};

/// The number of elements open at once at the deepest place of the document, 0 without elements.
std::size_t nestingDepth(std::string_view bytes);

} // namespace kelvarune::xml

#endif
