// The bytes must be those of QDomDocument::save, for every document and after any updates.

#include "pos/GoalBytes.h"
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
};

// Bytes of the texts are ASCII except for what character references stand for.
const document_case_t DOCUMENTS[] = {
    {"plain", "", "", ""},
    {"indented", "<?xml version=\"1.0\"?>\n", "\n    ", "\n  "},
    {"declared Latin-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", "\n", ""},
    {"declared UTF-16", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n", "\n", ""},
    {"declared Shift-JIS", "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>\n", "\n", ""},
    {"text in goals", "", "\n", "some <b>mixed</b> text\nof two lines"},
    {"text around goals", "", "loose text > &#233; ", ""},
    {"comments", "<!-- <Simple_Goal/> -->", "<!-- a > b, \" -->", "<!-- in\n <Driver> -->"},
    {"CDATA", "", "<![CDATA[<Simple_Goal> ]] ]]>", "<![CDATA[\n</Simple_Goal>\n]]>"},
    {"processing instructions", "<?style <a> ?>", "<?hint <Proof_Obligation> ?>", "<?hint\n?>"},
    {"document type", "<!DOCTYPE r [<!ENTITY e \"x\"><!NOTATION n SYSTEM '>'>]>", "&e;", ""},
    {"foreign elements", "", "<Simple_Goal/><Other a='>'><Simple_Goal status='x'/></Other>",
     "<Simple_Goal/>"},
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

TEST(GoalBytes, AreThoseOfAWholeSaveAfterRandomUpdates) {
  for (const document_case_t &row : DOCUMENTS) {
    SCOPED_TRACE(row.name);
    QDomDocument document;
    ASSERT_TRUE(document.setContent(QString::fromStdString(documentXml(row))));
    const auto goals = goalsOf(document);
    ASSERT_FALSE(goals.empty());
    pos::GoalBytes bytes(document);
    std::mt19937 random(static_cast<unsigned>(&row - DOCUMENTS));
    if (random() % 2) // else the first collection does it
      bytes.prepare();
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
        bytes.goalChanged(i, j);
      }
      QByteArray all;
      for (const QByteArray &piece : bytes.collect())
        all += piece;
      ASSERT_EQ(all.toStdString(), wholeSave(document)) << "round " << round;
    }
    EXPECT_EQ(document.documentElement().attribute(pos::ATTR_AUTHOR), "proof_director"_s);
  }
}

} // namespace
