// Saved bytes must be those of QDomDocument::save, for every document and after any updates; and a
// save must leave alone what it is not to touch.

#include "pos/PosFile.h"
#include "pos/pos.h"
#include "support/Fixtures.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QTextStream>

#include <random>
#include <sstream>

using namespace kelvarune;

namespace {

std::string wholeSave(const QDomDocument &document) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, pos::XML_INDENT);
  stream.flush();
  return bytes.toStdString();
}

struct document_case_t {
  const char *name;
  const char *prolog;     // before the root
  const char *between;    // before and after each obligation and goal
  const char *insideGoal; // in every third goal
  const char *encoding;   // of the bytes
};

// Bytes of the texts are ASCII except for what character references stand for.
const document_case_t DOCUMENTS[] = {
    {"plain", "", "", "", "UTF-8"},
    {"indented", "<?xml version=\"1.0\"?>\n", "\n    ", "\n  ", "UTF-8"},
    {"declared Latin-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", "\n", "",
     "ISO-8859-1"},
    {"declared UTF-16", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n", "\n", "", "UTF-16"},
    {"declared Shift-JIS", "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>\n", "\n", "",
     "Shift_JIS"},
    {"text in goals", "", "\n", "some <b>mixed</b> text\nof two lines", "UTF-8"},
    {"text around goals", "", "loose text > &#233; ", "", "UTF-8"},
    {"comments", "<!-- <Simple_Goal/> -->", "<!-- a > b, \" -->", "<!-- in\n <Driver> -->",
     "UTF-8"},
    {"CDATA", "", "<![CDATA[<Simple_Goal> ]] ]]>", "<![CDATA[\n</Simple_Goal>\n]]>", "UTF-8"},
    {"processing instructions", "<?style <a> ?>", "<?hint <Proof_Obligation> ?>", "<?hint\n?>",
     "UTF-8"},
    {"document type", "<!DOCTYPE r [<!ENTITY e \"x\"><!NOTATION n SYSTEM '>'>]>", "&e;", "",
     "UTF-8"},
    {"foreign elements", "", "<Simple_Goal/><Other a='>'><Simple_Goal status='x'/></Other>",
     "<Simple_Goal/>", "UTF-8"},
};

std::string goalXml(int obligation, int goal, const std::string &inside) {
  std::ostringstream xml;
  xml << "<Simple_Goal status=\"Unproved\" note=\"line&#10;break &lt;&quot;&gt; &#8364;&#233; "
      << obligation << '.' << goal << "\"><Proof_State proofState=\"Unproved\"/>" << inside
      << "<Mechanism name=\"m\" status=\"Unproved\"><Driver name=\"d\" status=\"Unproved\"/>"
      << "</Mechanism></Simple_Goal>";
  return xml.str();
}

std::string documentXml(const document_case_t &row) {
  std::ostringstream xml;
  xml << row.prolog << "<Proof_Obligations origin=\"&#233;\">" << row.between;
  for (int i = 0; i < 90; ++i) { // more goals than are kept together
    xml << "<Proof_Obligation><Tag>T" << i << "</Tag>" << row.between;
    for (int j = 0; j < i % 4; ++j)
      xml << goalXml(i, j, (i + j) % 3 == 0 ? row.insideGoal : "") << row.between;
    xml << "</Proof_Obligation>" << row.between;
  }
  xml << "</Proof_Obligations>\n<!-- end -->\n";
  return xml.str();
}

QByteArray encoded(const std::string &ascii, const char *encoding) {
  if (qstrcmp(encoding, "UTF-16") != 0)
    return QByteArray::fromStdString(ascii);
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  stream.setCodec("UTF-16");
  stream.setGenerateByteOrderMark(true);
  stream << QString::fromStdString(ascii);
  stream.flush();
  return bytes;
}

std::vector<std::vector<QDomElement>> goalsOf(const QDomDocument &document) {
  std::vector<std::vector<QDomElement>> goals;
  for (const QDomElement &obligation :
       xml::children(document.documentElement(), pos::TAG_PROOF_OBLIGATION)) {
    goals.emplace_back();
    for (const QDomElement &goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL))
      goals.back().push_back(goal);
  }
  return goals;
}

TEST(PosFile, BytesAreThoseOfAWholeSaveAfterRandomUpdates) {
  for (const document_case_t &row : DOCUMENTS) {
    SCOPED_TRACE(row.name);
    const TemporaryDirectory directory;
    directory.write("c.pos", encoded(documentXml(row), row.encoding).toStdString());
    pos::PosFile file(directory.path("c.pos"_s));
    QDomDocument document;
    std::mutex mutex;
    ASSERT_TRUE(file.load(document));
    const auto goals = goalsOf(document);
    ASSERT_FALSE(goals.empty());
    EXPECT_FALSE(file.saveUpTo(file.ticket(), mutex)) << "not ready";
    file.setReady();

    std::mt19937 random(static_cast<unsigned>(&row - DOCUMENTS));
    if (random() % 2) // else the first save does it
      file.prepare();
    const QString statuses[] = {pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_UNRELIABLY_PROVED,
                                pos::ATTR_VALUE_DISPROVED, pos::ATTR_VALUE_UNPROVED};
    for (int round = 0; round < 60; ++round) {
      for (unsigned changes = random() % 8; changes > 0; --changes) {
        const std::size_t i = random() % goals.size();
        if (goals[i].empty())
          continue;
        const std::size_t j = random() % goals[i].size();
        QDomElement goal = goals[i][j];
        QDomElement mechanism = goal.firstChildElement(pos::TAG_MECHANISM);
        QDomElement driver = mechanism.firstChildElement(pos::TAG_DRIVER);
        for (QDomElement element : {goal, mechanism, driver})
          if (random() % 2)
            element.setAttribute(pos::ATTR_STATUS, statuses[random() % 4]);
        file.goalChanged(i, j);
      }
      ASSERT_TRUE(file.saveUpTo(file.ticket(), mutex));
      ASSERT_EQ(directory.read("c.pos"), wholeSave(document)) << "round " << round;
    }
    EXPECT_EQ(document.documentElement().attribute(pos::ATTR_AUTHOR), "proof_director"_s);
  }
}

TEST(PosFile, MalformedFileIsKeptBesideTheFirstSave) {
  const TemporaryDirectory directory;
  const std::string original = "<Proof_Obligations><Proof_Obligation><Tag>T</Tag></Proof_";
  directory.write("c.pos", original);
  pos::PosFile file(directory.path("c.pos"_s));
  QDomDocument document;
  std::mutex mutex;
  ASSERT_TRUE(file.load(document));
  file.setReady();
  ASSERT_TRUE(file.saveUpTo(file.ticket(), mutex));
  EXPECT_EQ(directory.read("c.pos~"), original);
  ASSERT_TRUE(file.saveUpTo(file.ticket(), mutex));
  EXPECT_EQ(directory.read("c.pos~"), original) << "kept once, before the first save";
}

TEST(PosFile, OneWriteServesAllTicketsIssuedBefore) {
  const TemporaryDirectory directory;
  directory.write("c.pos", "<r/>");
  pos::PosFile file(directory.path("c.pos"_s));
  QDomDocument document;
  std::mutex mutex;
  ASSERT_TRUE(file.load(document));
  file.setReady();
  const quint64 first = file.ticket();
  const quint64 second = file.ticket();
  ASSERT_TRUE(file.saveUpTo(second, mutex));
  directory.write("c.pos", "<other/>");
  EXPECT_TRUE(file.saveUpTo(first, mutex));
  EXPECT_EQ(directory.read("c.pos"), "<other/>") << "already saved, not written again";
  EXPECT_TRUE(file.saveUpTo(file.ticket(), mutex));
  EXPECT_NE(directory.read("c.pos"), "<other/>");
}

} // namespace
