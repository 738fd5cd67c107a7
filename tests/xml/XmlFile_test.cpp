// The scanner on documents made to mislead it, and the reader on files that are no documents.

#include "support/Fixtures.h"
#include "text/Literals.h"
#include "xml/TagScanner.h"
#include "xml/XmlFile.h"

#include <stdexcept>

#include <sys/stat.h>

using namespace kelvarune;

namespace {

/// The tags of `bytes` as one text: "<a>", "</a>", "<a/>", or "?" when a tag's offsets are wrong.
std::string tagsOf(const std::string &bytes) {
  xml::TagScanner scanner(bytes);
  xml::tag_t tag;
  std::string all;
  while (scanner.next(tag)) {
    const std::string name(tag.name);
    const bool close = tag.kind == xml::tag_kind_t::CLOSE;
    const std::string source = bytes.substr(tag.begin, tag.end - tag.begin);
    if (source.rfind((close ? "</" : "<") + name, 0) != 0 || source.back() != '>')
      all += "?";
    all += (close ? "</" : "<") + name + (tag.kind == xml::tag_kind_t::EMPTY ? "/>" : ">");
  }
  return all;
}

TEST(TagScanner, FindsTheTagsAndNothingElse) {
  const struct {
    const char *name;
    const char *bytes;
    const char *tags;
    std::size_t depth;
  } rows[] = {
      {"nothing", "", "", 0},
      {"text only", "a > b", "", 0},
      {"nested and empty", "<a><b/><c>x</c></a>", "<a><b/><c></c></a>", 2},
      {"siblings are not deeper", "<a><b></b><b></b></a>", "<a><b></b><b></b></a>", 2},
      {"an empty element counts as a level", "<a><b><c/></b></a>", "<a><b><c/></b></a>", 3},
      {"blanks in tags", "<a\n x='1'\t><b /></a >", "<a><b/></a>", 2},
      {"> in quotes", "<a x='>' y=\">/>\"><b x='/>'></b></a>", "<a><b></b></a>", 2},
      {"< in quotes", "<a x=\"<b>\"/>", "<a/>", 1},
      {"the other quote in quotes", "<a x='\"' y=\"'\"><b/></a>", "<a><b/></a>", 2},
      {"a slash at the end of a value", "<a x='/'></a>", "<a></a>", 1},
      {"quotes in text", "<a>it's<b/>\"</a>", "<a><b/></a>", 2},
      {"] and > in text", "<a>]]&gt; > ]<b/></a>", "<a><b/></a>", 2},
      {"comment", "<a><!-- <b> ' -> <c> --><d/></a>", "<a><d/></a>", 2},
      {"comment that closes late", "<a><!--><b>--><c/></a>", "<a><c/></a>", 2},
      {"comment that closes at once", "<a><!----><b/></a>", "<a><b/></a>", 2},
      {"CDATA", "<a><![CDATA[<b> ' ]> ]] > <c>]]><d/></a>", "<a><d/></a>", 2},
      {"CDATA that closes at once", "<a><![CDATA[]]><d/></a>", "<a><d/></a>", 2},
      {"CDATA that ends with a bracket", "<a><![CDATA[x]]]><d/></a>", "<a><d/></a>", 2},
      {"processing instruction", "<?xml version='1.0'?><?p <b> > ' ?><a/>", "<a/>", 1},
      {"processing instruction with marks", "<?\?><a/>", "<a/>", 1},
      {"document type", "<!DOCTYPE a SYSTEM \"x>y\"><a/>", "<a/>", 1},
      {"internal subset",
       "<!DOCTYPE a [<!ELEMENT a (b)> <!ENTITY e '<b>]>'> <!-- ' ]> <c> --> <?p ' ]> <d> ?>]><a/>",
       "<a/>", 1},
      {"comment in a document type that closes late", "<!DOCTYPE a [<!--> ]> <b/> -->]><a/>",
       "<a/>", 1},
      {"cut in a tag", "<a><b x='1'", "<a>", 1},
      {"cut in a name", "<a><b", "<a>", 1},
      {"cut at its start", "<a><", "<a>", 1},
      {"cut in a value", "<a><b x='1>", "<a>", 1},
      {"cut in a comment", "<a><!-- <b>", "<a>", 1},
      {"cut in the start of a comment", "<a><!--", "<a>", 1},
      {"cut in CDATA", "<a><![CDATA[<b>]]", "<a>", 1},
      {"cut in an instruction", "<a><?", "<a>", 1},
      {"cut in a document type", "<!DOCTYPE a [ <!ELEMENT a>", "", 0},
      {"cut in a quote of a document type", "<!DOCTYPE a 'x><a/>", "", 0},
      {"more ends than starts", "</a></a><b><c/></b>", "</a></a><b><c/></b>", 2},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(tagsOf(row.bytes), row.tags) << row.name;
    EXPECT_EQ(xml::nestingDepth(row.bytes), row.depth) << row.name;
  }
}

std::string nested(std::size_t depth) {
  std::string bytes;
  for (std::size_t i = 0; i < depth; ++i)
    bytes += "<e>";
  for (std::size_t i = 0; i < depth; ++i)
    bytes += "</e>";
  return bytes;
}

std::string replaced(const std::string &text, const char *before, const char *after) {
  return QString::fromStdString(text)
      .replace(QString::fromUtf8(before), QString::fromUtf8(after))
      .toStdString();
}

TEST(ReadDocument, ReadsWhatIsWellFormed) {
  const TemporaryDirectory directory;
  QDomDocument document;
  const auto result = xml::readDocument(
      QString::fromStdString(directory.write("a.xml", "<a>\xc3\xa9</a>")), document);
  EXPECT_TRUE(result.readable);
  EXPECT_TRUE(result.wellFormed);
  EXPECT_EQ(document.documentElement().text().toStdString(), "é");
}

TEST(ReadDocument, KeepsWhatPrecedesAnError) {
  const TemporaryDirectory directory;
  QDomDocument document;
  const auto result = xml::readDocument(
      QString::fromStdString(directory.write("a.xml", "<a>\n<b/><c></d></a>")), document);
  EXPECT_TRUE(result.readable);
  EXPECT_FALSE(result.wellFormed);
  EXPECT_FALSE(result.message.isEmpty());
  EXPECT_EQ(result.line, 2);
  EXPECT_GT(result.column, 1);
  EXPECT_EQ(document.documentElement().firstChildElement().tagName().toStdString(), "b");
}

TEST(ReadDocument, AnEmptyFileIsNotWellFormed) {
  const TemporaryDirectory directory;
  QDomDocument document;
  const auto result =
      xml::readDocument(QString::fromStdString(directory.write("a.xml", "")), document);
  EXPECT_TRUE(result.readable);
  EXPECT_FALSE(result.wellFormed);
  EXPECT_TRUE(document.documentElement().isNull());
}

TEST(ReadDocument, LeavesTheDocumentWhenTheFileCannotBeRead) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkdir(directory.bytePath("dir").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo").c_str(), 0600), 0);
  for (const char *name : {"missing", "dir", "fifo"}) {
    QDomDocument document = documentOf("<kept/>");
    EXPECT_FALSE(xml::readDocument(directory.path(QString::fromUtf8(name)), document).readable)
        << name;
    EXPECT_EQ(document.documentElement().tagName().toStdString(), "kept") << name;
  }
}

TEST(ReadDocument, RefusesDocumentsThatNestTooDeeply) {
  const TemporaryDirectory directory;
  const QString utf16 = QString::fromStdString(nested(xml::MAX_DEPTH + 1));
  const std::string utf16Bytes =
      "\xff\xfe" + std::string(reinterpret_cast<const char *>(utf16.utf16()), utf16.size() * 2u);
  const auto entities = [](std::size_t references) {
    std::string bytes = "<!DOCTYPE a [<!ENTITY e '<e>'><!ENTITY x '</e>'>]><a>";
    for (const char *reference : {"&e;", "&x;"}) {
      for (std::size_t i = 0; i < references; ++i)
        bytes += reference;
    }
    return bytes + "</a>";
  };
  const struct {
    const char *name;
    std::string bytes;
    bool readable;
  } rows[] = {
      {"deepest through entities", entities(xml::MAX_DEPTH - 1), true},
      {"too deep through entities", entities(xml::MAX_DEPTH), false},
      {"too deep in a declared encoding",
       "<?xml version='1.0' encoding='UTF-7'?>" +
           replaced(nested(xml::MAX_DEPTH + 1), "<", "+ADw-"),
       false},
      {"deepest", nested(xml::MAX_DEPTH), true},
      {"too deep", nested(xml::MAX_DEPTH + 1), false},
      {"too deep in UTF-16", utf16Bytes, false},
      {"far too deep and unclosed", nested(1000000).substr(0, 3000000), false},
  };
  for (const auto &row : rows) {
    QDomDocument document;
    const std::string file = directory.write("a.xml", row.bytes);
    testing::internal::CaptureStderr();
    const auto result = xml::readDocument(QString::fromStdString(file), document);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              row.readable ? ""
                           : "File " + file +
                                 " nests more than 1000 elements in each other, it is not read.\n")
        << row.name;
    EXPECT_EQ(result.readable, row.readable) << row.name;
    EXPECT_EQ(result.wellFormed, row.readable) << row.name;
  }
}

std::string startOf(const QString &name, const QString &x) {
  return "<" + name.toStdString() + " " + x.toStdString() + ">";
}

const QString X = "x"_s;
const QString ABSENT = "absent"_s;

class Writer : public xml::ElementVisitor {
public:
  void open(const xml::MetElement &element) override {
    text += startOf(element.name(), element.attribute(X, ABSENT));
    if (element.name() == "throw"_s)
      throw std::out_of_range("visitor");
  }
  void close() override { text += "</>"; }

  std::string text;
};

std::string textOf(const QDomElement &element) {
  std::string text = startOf(element.tagName(), element.attribute(X, ABSENT));
  for (const QDomElement &child : xml::children(element, QString()))
    text += textOf(child);
  return text + "</>";
}

TEST(VisitElements, MeetsTheElementsOfTheDocument) {
  for (const char *bytes : {
           "<a x='1'><b x=''/>text<b/><!-- <c/> --><![CDATA[<d/>]]><?p <e/>?></a>",
           "<a x='1' x='2'/>",
           "<n:a n:x='1' x='2' xmlns:n='u'><n:b x='3'/></n:a>",
           "<!DOCTYPE a [<!ENTITY e \"<b x='1'><c/></b>\"><!ATTLIST a x CDATA 'd'>]><a>&e;&e;</a>",
           "<?xml version='1.0' encoding='ISO-8859-1'?><a x='\xE9'/>",
           "<a x='&lt;&#233;&quot;&#10;'/>",
       }) {
    const TemporaryDirectory directory;
    directory.write("c.xml", bytes);
    QDomDocument document;
    Writer writer;
    EXPECT_TRUE(xml::readDocument(directory.path("c.xml"_s), document).wellFormed);
    EXPECT_TRUE(xml::visitElements(directory.path("c.xml"_s), writer).wellFormed);
    EXPECT_EQ(writer.text, textOf(document.documentElement())) << bytes;
  }
}

TEST(VisitElements, RaisesTheVisitorsExceptionsOfWellFormedFilesOnly) {
  const TemporaryDirectory directory;
  Writer writer;
  const auto visit = [&](const std::string &bytes) {
    directory.write("c.xml", bytes);
    writer.text.clear();
    return xml::visitElements(directory.path("c.xml"_s), writer);
  };
  EXPECT_THROW(visit("<a><throw/><b/></a>"), std::out_of_range);
  EXPECT_EQ(writer.text, "<a absent><throw absent>") << "no calls afterwards";
  const xml::read_result_t result = visit("<a><throw/><b></a>");
  EXPECT_TRUE(result.readable);
  EXPECT_FALSE(result.wellFormed);
  EXPECT_EQ(result.line, 1);
  EXPECT_FALSE(visit(nested(xml::MAX_DEPTH + 1)).readable);
}

TEST(Attribute, TellsAbsentFromEmpty) {
  const QDomDocument document = documentOf("<a empty='' full='x'/>");
  const QDomElement element = document.documentElement();
  const QString empty = xml::attribute(element, "empty"_s);
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_FALSE(empty.isNull());
  EXPECT_EQ(xml::attribute(element, "full"_s).toStdString(), "x");
  EXPECT_TRUE(xml::attribute(element, "absent"_s).isNull());
  EXPECT_TRUE(xml::attribute(QDomElement(), "empty"_s).isNull());
}

TEST(Children, AreDirectNamedAndInOrder) {
  const QDomDocument document =
      documentOf("<a>text<c n='1'><c n='deep'/></c><!-- --><d/><c n='2'/></a>");
  std::string seen;
  for (const QDomElement &child : xml::children(document.documentElement(), "c"_s))
    seen += child.attribute("n"_s).toStdString() + ",";
  EXPECT_EQ(seen, "1,2,");
  for (const QDomElement &child : xml::children(QDomElement(), "c"_s))
    ADD_FAILURE() << child.tagName().toStdString();
}

TEST(Children, MayBeRemovedWhileLooping) {
  QDomDocument document = documentOf("<a><c/><d/><c/><c/><d/></a>");
  QDomElement root = document.documentElement();
  for (const QDomElement &child : xml::children(root, "c"_s))
    root.removeChild(child);
  EXPECT_EQ(document.toString(-1).trimmed().toStdString(), "<a><d/><d/></a>");
}

} // namespace
