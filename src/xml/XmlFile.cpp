// Files come from users and may be anything: a directory, a FIFO that nobody writes, a document
// nested so deeply that the XML library, which recurses, would overflow the stack. All of that is
// met here, once, before the library sees a byte.

#include "xml/XmlFile.h"

#include "file/Io.h"
#include "text/Literals.h"
#include "xml/TagScanner.h"

#include <QBuffer>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <exception>
#include <iostream>

#include <sys/stat.h>

namespace kelvarune::xml {

namespace {

bool readRegularFile(const QString &path, QByteArray &bytes) {
  // O_NONBLOCK, so that opening a FIFO returns; it has no effect on regular files.
  const file::Descriptor file = file::openFile(path.toStdString(), O_RDONLY | O_NONBLOCK);
  struct stat status;
  return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
         file::readAll(file.get(), bytes);
}

// Deprecated for other uses; but the document classes read through this very parser.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

class DepthHandler : public QXmlDefaultHandler {
public:
  bool startElement(const QString &, const QString &, const QString &,
                    const QXmlAttributes &) override {
    deepest = std::max(deepest, ++depth);
    return deepest <= MAX_DEPTH;
  }
  bool endElement(const QString &, const QString &, const QString &) override {
    --depth;
    return true;
  }

  std::size_t deepest = 0;

private:
  std::size_t depth = 0;
};

/// Bytes as the document classes give them to the parser: from a device, in blocks, of which only
/// the first is searched for a declared encoding.
struct source_t {
  explicit source_t(const QByteArray &bytes) : content(bytes), device(&content), input(&device) {}

  QByteArray content;
  QBuffer device;
  QXmlInputSource input;
};

// The text that the parser will see.
QString decoded(const QByteArray &bytes) {
  source_t source(bytes);
  QXmlInputSource &input = source.input;
  QString text;
  for (input.fetchData(); !input.data().isEmpty(); input.fetchData())
    text += input.data();
  return text;
}

std::size_t parsedDepth(const QByteArray &bytes) {
  DepthHandler handler;
  source_t source(bytes);
  QXmlSimpleReader reader;
  reader.setContentHandler(&handler);
  reader.parse(source.input);
  return handler.deepest;
}

// Hands elements to a visitor. Its exceptions must not pass through the parser, so they wait here.
class VisitHandler : public QXmlDefaultHandler {
public:
  explicit VisitHandler(ElementVisitor &visitor) : visitor(visitor) {}

  bool startElement(const QString &, const QString &, const QString &name,
                    const QXmlAttributes &attributes) override {
    attempt([&] { visitor.open(StartTag(name, attributes)); });
    return true;
  }

  bool endElement(const QString &, const QString &, const QString &) override {
    attempt([&] { visitor.close(); });
    return true;
  }

  bool fatalError(const QXmlParseException &error) override {
    result.message = error.message();
    result.line = error.lineNumber();
    result.column = error.columnNumber();
    return false;
  }

  read_result_t result;
  std::exception_ptr exception;

private:
  template <typename Call>
  void attempt(Call call) {
    if (exception)
      return;
    try {
      call();
    } catch (...) {
      exception = std::current_exception();
    }
  }

  ElementVisitor &visitor;
};

// Whether the document's tags can be found in its bytes as they are. Yes only if the parser cannot
// take another encoding than these for the declared one, however it reads the declaration.
bool hasAsciiTags(const QByteArray &bytes) {
  const QByteArray mark = bytes.left(4);
  if (mark.startsWith("\xFE\xFF") || mark.startsWith("\xFF\xFE") || mark.contains('\0'))
    return false;
  const QByteArray declaration = bytes.left(bytes.indexOf('>'));
  const int name = declaration.indexOf("encoding");
  if (name < 0)
    return true; // UTF-8
  const auto isQuote = [](char c) { return c == '"' || c == '\''; };
  const auto begin = std::find_if(declaration.begin() + name, declaration.end(), isQuote);
  const auto end = std::find_if(std::min(begin + 1, declaration.end()), declaration.end(), isQuote);
  return begin != end && keepsAscii(QByteArray(begin + 1, static_cast<int>(end - begin) - 1));
}

// The number of parentheses open at once in a document type, whose groups the parser descends into.
std::size_t groupDepth(const QByteArray &text) {
  const int begin = text.indexOf("<!DOCTYPE");
  std::size_t depth = 0;
  std::size_t deepest = 0;
  for (int i = begin; begin >= 0 && i < text.size(); ++i) {
    depth += text[i] == '(' ? 1 : 0;
    depth -= text[i] == ')' && depth > 0 ? 1 : 0;
    deepest = std::max(deepest, depth);
  }
  return deepest;
}

std::size_t depthOf(const QByteArray &bytes) {
  const QByteArray text = hasAsciiTags(bytes) ? bytes : decoded(bytes).toUtf8();
  if (groupDepth(text) > MAX_DEPTH)
    return MAX_DEPTH + 1;
  if (!text.contains("<!ENTITY"))
    return nestingDepth({text.constData(), static_cast<std::size_t>(text.size())});
  return parsedDepth(bytes); // entities may hold elements, so a few bytes can nest without end
}

bool readBytes(const QString &path, QByteArray &bytes) {
  if (!readRegularFile(path, bytes))
    return false;
  if (depthOf(bytes) <= MAX_DEPTH)
    return true;
  std::cerr << "File " << path.toUtf8().constData() << " nests more than " << MAX_DEPTH
            << " elements in each other, it is not read." << std::endl;
  return false;
}

} // namespace

QString StartTag::attribute(const QString &name, const QString &absent) const {
  for (int i = attributes.count() - 1; i >= 0; --i) {
    if (attributes.qName(i) == name)
      return attributes.value(i);
  }
  return absent;
}

read_result_t visitElements(const QString &path, ElementVisitor &visitor) {
  VisitHandler handler(visitor);
  QByteArray bytes;
  if (!readBytes(path, bytes))
    return handler.result;
  source_t source(bytes);
  QXmlSimpleReader reader;
  // As the document classes have it.
  reader.setFeature("http://xml.org/sax/features/namespaces"_s, false);
  reader.setFeature("http://xml.org/sax/features/namespace-prefixes"_s, true);
  reader.setContentHandler(&handler);
  reader.setErrorHandler(&handler);
  handler.result.readable = true;
  handler.result.wellFormed = reader.parse(source.input);
  if (handler.result.wellFormed && handler.exception)
    std::rethrow_exception(handler.exception);
  return handler.result;
}

#pragma GCC diagnostic pop

bool keepsAscii(const QByteArray &encoding) {
  const QByteArray name = encoding.toUpper();
  return name == "UTF-8" || name == "US-ASCII" || name.startsWith("ISO-8859-") ||
         name.startsWith("WINDOWS-125");
}

read_result_t readDocument(const QString &path, QDomDocument &document) {
  read_result_t result;
  QByteArray bytes;
  if (!readBytes(path, bytes))
    return result;
  result.readable = true;
  result.wellFormed = document.setContent(bytes, &result.message, &result.line, &result.column);
  return result;
}

QString attribute(const QDomElement &element, const QString &name) {
  if (!element.hasAttribute(name))
    return QString();
  const QString value = element.attribute(name);
  return value.isNull() ? ""_s : value;
}

} // namespace kelvarune::xml
