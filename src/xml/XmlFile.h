#ifndef KELVARUNE_XML_XMLFILE_H
#define KELVARUNE_XML_XMLFILE_H

#include <QDomDocument>
#include <QString>

#include <cstddef>

class QXmlAttributes;

namespace kelvarune::xml {

/// The deepest nesting of elements that is read. The XML library recurses over the elements of a
/// document when it writes and frees it, so a deeper document could exhaust the stack.
constexpr std::size_t MAX_DEPTH = 1000;

/// How reading a document went. `message`, `line` and `column` (both from 1) tell the XML library's
/// complaint when the file could be read but is not well-formed.
struct read_result_t {
  bool readable = false;
  bool wellFormed = false;
  QString message;
  int line = 0;
  int column = 0;
};

/// Reads the XML document in the file at `path` into `document`.
///
/// A file that does not exist, is not a regular file or cannot be read leaves `document` as it was
/// and gives `readable` false. A file that is not well-formed is read as far as the XML library
/// goes, at worst into a document without a root element. A file that nests elements deeper than
/// MAX_DEPTH, its own entities in place and in whatever encoding, is not readable either, and one
/// line on standard error says so. Never blocks on a FIFO or a device. Any thread.
read_result_t readDocument(const QString &path, QDomDocument &document);

/// The start tag of an element, as it is met while a file is read. Valid during the call that gets
/// it.
class StartTag {
public:
  StartTag(const QString &name, const QXmlAttributes &attributes)
      : qualifiedName(name), attributes(attributes) {}

  const QString &name() const { return qualifiedName; }

  /// The attribute `name`, or `absent`. Of two with one name the last, as in a document.
  QString attribute(const QString &name, const QString &absent = QString()) const;

private:
  const QString &qualifiedName;
  const QXmlAttributes &attributes;
};

/// Gets the elements of a file one by one while it is read.
class ElementVisitor {
public:
  virtual ~ElementVisitor() = default;
  virtual void open(const StartTag &tag) = 0;
  virtual void close() = 0;
};

/// Reads the XML document in the file at `path` without keeping it, which takes half the time of
/// readDocument and no memory for nodes. Accepts and refuses the same files, with the same line on
/// standard error. Any thread; `visitor` is only borrowed and is called on that thread, before the
/// call returns.
///
/// What `visitor` got counts only if the result says `wellFormed`: of another file it may have got
/// a part. An exception of the visitor ends the calls to it, and is raised again when the file has
/// been read to its end and is well-formed; of a file that is not it is forgotten.
read_result_t visitElements(const QString &path, ElementVisitor &visitor);

/// Whether in the encoding of this name every byte below 128 is that ASCII character, wherever it
/// stands. Known of the usual encodings only.
bool keepsAscii(const QByteArray &encoding);

/// The attribute `name` of `element`: null when absent, empty but not null when present and empty.
QString attribute(const QDomElement &element, const QString &name);

/// The direct children of a node that are elements named `tag`, in document order, for range-for
/// loops. The loop steps on before its body runs, so the body may remove the element it is given.
class children {
public:
  children(const QDomNode &parent, const QString &tag)
      : first(parent.firstChildElement(tag)), tag(tag) {}

  class iterator {
  public:
    iterator(const QDomElement &element, const QString *tag) : tag(tag) { stepTo(element); }
    const QDomElement &operator*() const { return current; }
    iterator &operator++() {
      stepTo(following);
      return *this;
    }
    bool operator!=(const iterator &other) const { return current != other.current; }

  private:
    void stepTo(const QDomElement &element) {
      current = element;
      following = current.nextSiblingElement(*tag);
    }

    QDomElement current;
    QDomElement following;
    const QString *tag;
  };

  iterator begin() const { return {first, &tag}; }
  iterator end() const { return {QDomElement(), &tag}; }

private:
  QDomElement first;
  QString tag;
};

} // namespace kelvarune::xml

#endif
