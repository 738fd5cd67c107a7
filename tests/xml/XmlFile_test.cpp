// The scanner on documents made to mislead it, and the readers on files that are no documents.

#include "support/Fixtures.h"
#include "text/Literals.h"
#include "xml/TagScanner.h"
#include "xml/XmlFile.h"

#include <QTextCodec>

#include <stdexcept>

#include <sys/stat.h>

using namespace kelvarune;

namespace {

std::string tagsOf(const std::string &bytes) {
  xml::TagScanner scanner(bytes);
  std::string all;
  for (xml::tag_t tag; scanner.next(tag);)
    all += bytes.substr(tag.begin, tag.end - tag.begin);
  return all;
}

TEST(TagScanner, FindsTheTagsAndNothingElse) {
  const struct {
    const char *bytes;
    const char *tags;
    std::size_t depth;
  } rows[] = {
      {"<a><b><c/></b><b></b></a>", "<a><b><c/></b><b></b></a>", 3},
      {"<a\n x='>'\t>-<b y=\"/\" z=\"<'c>\"></b></a >",
       "<a\n x='>'\t><b y=\"/\" z=\"<'c>\"></b></a >", 2},
      {"<a>it's<b/>\" ]]&gt; > ]</a>", "<a><b/></a>", 2},
      {"<a><!-- <b> ' -> <c> --><!----><d/></a>", "<a><d/></a>", 2},
      {"<a><!--><b>--><c/></a>", "<a><c/></a>", 2},
      {"<a><![CDATA[<b> ' ]> ]] > <c>]]]><![CDATA[]]><d/></a>", "<a><d/></a>", 2},
      {"<?xml version='1.0'?><?p <b> > ' ?><?\?><a/>", "<a/>", 1},
      {"<!DOCTYPE a SYSTEM \"x>y\" [<!ELEMENT a (b)> <!ENTITY e '<b>]>'>]><a/>", "<a/>", 1},
      {"<!DOCTYPE a [<!-- ' ]> <c> --> <!--> ]> <b/> --> <?p ' ]> <d> ?>]><a/>", "<a/>", 1},
      {"<a><b x='1>", "<a>", 1}, // and cut elsewhere
      {"<a><!--", "<a>", 1},
      {"<a><![CDATA[<b>]]", "<a>", 1},
      {"<!DOCTYPE a [ <!ELEMENT a>", "", 0},
      {"</a></a><b><c/></b>", "</a></a><b><c/></b>", 2},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(tagsOf(row.bytes), row.tags) << row.bytes;
    EXPECT_EQ(xml::nestingDepth(row.bytes), row.depth) << row.bytes;
  }
}

/// Writes the elements that it meets as textOf writes those of a document.
class Writer : public xml::ElementVisitor {
public:
  void open(const xml::StartTag &element) override {
    text += element.name() + "="_s + element.attribute("x"_s, "none"_s) + "("_s;
    if (element.name() == "throw"_s)
      throw std::out_of_range("visitor");
  }
  void close() override { text += ")"_s; }

  QString text;
};

QString textOf(const QDomElement &element) {
  QString text = element.tagName() + "="_s + element.attribute("x"_s, "none"_s) + "("_s;
  for (const QDomElement &child : xml::children(element, QString()))
    text += textOf(child);
  return text + ")"_s;
}

/// The elements of a file, read in both ways; before them the line of an error, 0 without one.
std::string outcomeOf(const std::string &bytes) {
  const TemporaryDirectory directory;
  const QString file = QString::fromStdString(directory.write("a.xml", bytes));
  QDomDocument document;
  Writer writer;
  testing::internal::CaptureStderr();
  const xml::read_result_t visited = xml::visitElements(file, writer);
  const std::string complaint = testing::internal::GetCapturedStderr();
  const xml::read_result_t result = xml::readDocument(file, document);
  EXPECT_EQ(std::tie(visited.readable, visited.wellFormed, visited.message, visited.column),
            std::tie(result.readable, result.wellFormed, result.message, result.column));
  if (!result.readable)
    return complaint.substr(complaint.find(" nests"));
  const QString text = textOf(document.documentElement());
  EXPECT_EQ(result.wellFormed, writer.text == text);
  return std::to_string(result.line) + " " + text.toStdString();
}

TEST(Reading, FindsTheElementsOrSaysWhyNot) {
  const auto nested = [](int depth) { return "<e>"_s.repeated(depth) + "</e>"_s.repeated(depth); };
  const auto entities = [](int depth) {
    return "<!DOCTYPE e [<!ENTITY a '<e>'><!ENTITY b '</e>'>]><e>"_s + "&a;"_s.repeated(depth - 1) +
           "&b;"_s.repeated(depth - 1) + "</e>"_s;
  };
  const QString deepest = "0 "_s + "e=none("_s.repeated(1000) + ")"_s.repeated(1000);
  const char *const TOO_DEEP = " nests more than 1000 elements in each other, it is not read.\n";
  const struct {
    const char *name;
    std::string bytes;
    std::string outcome;
  } rows[] = {
      {"prefixes", "<n:a n:x='1' x='2' xmlns:n='u'><n:b x='3'/></n:a>", "0 n:a=2(n:b=3())"},
      {"entities", "<!DOCTYPE a [<!ENTITY e \"<b x='1'/>\">]><a>&e;&e;</a>",
       "0 a=none(b=1()b=1())"},
      {"Latin-1", "<?xml version='1.0' encoding='ISO-8859-1'?><a x='\xE9&lt;'/>", "0 a=é<()"},
      {"wrong end", "<a>\n<b/><c></d></a>", "2 a=none(b=none()c=none())"},
      {"empty", "", "1 =none()"},
      {"deepest", nested(1000).toStdString(), deepest.toStdString()},
      {"deeper", nested(1001).toStdString(), TOO_DEEP},
      {"deeper and unclosed", "<e>"_s.repeated(1000000).toStdString(), TOO_DEEP},
      {"deepest by entities", entities(1000).toStdString(), deepest.toStdString()},
      {"deeper by entities", entities(1001).toStdString(), TOO_DEEP},
      {"deep groups", "<!DOCTYPE a [<!ELEMENT a " + std::string(1001, '(') + "]><a/>", TOO_DEEP},
      {"UTF-16", QTextCodec::codecForName("UTF-16")->fromUnicode(nested(1001)).toStdString(),
       TOO_DEEP},
      {"UTF-7 behind a long declaration",
       "<?xml version='1.0'" + std::string(300, ' ') + "encoding='UTF-7'?>" +
           nested(1001).replace("<"_s, "+ADw-"_s).toStdString(),
       TOO_DEEP},
  };
  for (const auto &row : rows)
    EXPECT_EQ(outcomeOf(row.bytes), row.outcome) << row.name;
}

TEST(Reading, LeavesTheDocumentWhenTheFileCannotBeRead) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo(directory.bytePath("fifo").c_str(), 0600), 0);
  QDomDocument document = documentOf("<kept/>");
  for (const QString &name : {"missing"_s, "."_s, "fifo"_s})
    EXPECT_FALSE(xml::readDocument(directory.path(name), document).readable) << name.toStdString();
  EXPECT_EQ(document.documentElement().tagName().toStdString(), "kept");
}

TEST(Reading, RaisesTheVisitorsExceptionsOfWellFormedFilesOnly) {
  const TemporaryDirectory directory;
  Writer writer;
  directory.write("a.xml", "<a><throw/><b/></a>");
  EXPECT_THROW(xml::visitElements(directory.path("a.xml"_s), writer), std::out_of_range);
  EXPECT_EQ(writer.text.toStdString(), "a=none(throw=none(") << "no calls afterwards";
  directory.write("a.xml", "<a><throw/><b></a>");
  EXPECT_FALSE(xml::visitElements(directory.path("a.xml"_s), writer).wellFormed);
}

} // namespace
