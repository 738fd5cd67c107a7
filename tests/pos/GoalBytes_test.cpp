// The bytes must be those of QDomDocument::save, for every document and after any updates.

#include "pos/GoalBytes.h"
#include "pos/PosInternal.h"
#include "support/Pos.h"
#include "text/Literals.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

using namespace kelvarune;

namespace {

// Bytes of the texts are ASCII except for what character references stand for.
const struct {
  const char *name;
  const char *prolog;     // before the root
  const char *between;    // before and after each obligation and goal
  const char *insideGoal; // in every third goal
} DOCUMENTS[] = {
    {"plain", "", "", ""},
    {"Latin-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", "\n", ""},
    {"UTF-16", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n", "\n", ""},
    {"Shift-JIS", "<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>\n", "\n", ""},
    {"text", "", "loose text > &#233; ", "some <b>mixed</b> text\nof two lines"},
    {"comments", "<!-- <Simple_Goal/> -->", "<!-- a > b, \" -->", "<!-- in\n <Driver> -->"},
    {"CDATA", "", "<![CDATA[<Simple_Goal> ]] ]]>", "<![CDATA[\n</Simple_Goal>\n]]>"},
    {"processing instructions", "<?style <a> ?>", "<?hint <Proof_Obligation> ?>", "<?hint\n?>"},
    {"document type", "<!DOCTYPE r [<!ENTITY e \"x\"><!NOTATION n SYSTEM '>'>]>", "&e;", ""},
    {"foreign elements", "", "<Simple_Goal/><Other a='>'><Simple_Goal status='x'/></Other>",
     "<Simple_Goal/>"},
};

std::string documentXml(const char *prolog, const char *between, const char *insideGoal) {
  std::ostringstream xml;
  xml << prolog << "<Proof_Obligations origin=\"&#233;\">" << between;
  for (int i = 0; i < 90; ++i) { // more goals than are kept together
    xml << "<Proof_Obligation><Tag>T" << i << "</Tag>" << between;
    for (int j = 0; j < i % 4; ++j)
      xml << "<Simple_Goal status=\"Unproved\" note=\"line&#10;break &lt;&quot;&gt; &#8364;&#233; "
          << i << '.' << j << "\"><Proof_State proofState=\"Unproved\"/>"
          << ((i + j) % 3 == 0 ? insideGoal : "")
          << "<Mechanism name=\"m\" status=\"Unproved\"><Driver name=\"d\" status=\"Unproved\"/>"
          << "</Mechanism></Simple_Goal>" << between;
    xml << "</Proof_Obligation>" << between;
  }
  xml << "</Proof_Obligations>\n<!-- end -->\n";
  return xml.str();
}

TEST(GoalBytes, AreThoseOfAWholeSaveAfterRandomUpdates) {
  std::mt19937 random(1);
  for (const auto &[name, prolog, between, insideGoal] : DOCUMENTS) {
    SCOPED_TRACE(name);
    QDomDocument document;
    const std::string xml = documentXml(prolog, between, insideGoal);
    ASSERT_TRUE(document.setContent(QString::fromStdString(xml)));
    const std::vector<pos::obligation_t> obligations = pos::obligationsOf(document);
    pos::GoalBytes bytes(document);
    if (random() % 2) // else the first collection does it
      bytes.prepare();
    const QString statuses[] = {"Proved"_s, "UnreliablyProved"_s, "Disproved"_s, "Unproved"_s};
    for (int round = 0; round < 60; ++round) {
      for (unsigned changes = random() % 8; changes > 0; --changes) {
        const std::size_t i = random() % obligations.size();
        if (obligations[i].goals.empty())
          continue;
        const std::size_t j = random() % obligations[i].goals.size();
        QDomElement goal = obligations[i].goals[j];
        QDomElement mechanism = goal.firstChildElement(pos::TAG_MECHANISM);
        QDomElement driver = mechanism.firstChildElement(pos::TAG_DRIVER);
        for (QDomElement element : {goal, mechanism, driver})
          if (random() % 2)
            element.setAttribute(pos::ATTR_STATUS, statuses[random() % 4]);
        bytes.goalChanged(i, j);
      }
      const QByteArray pieces = joined(bytes.collect()); // which also writes the author's name
      ASSERT_EQ(pieces.toStdString(), wholeSave(document).toStdString()) << "round " << round;
    }
    EXPECT_EQ(document.documentElement().attribute(pos::ATTR_AUTHOR), "proof_director"_s);
  }
}

} // namespace
