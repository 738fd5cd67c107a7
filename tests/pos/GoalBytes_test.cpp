// The bytes must be those of QDomDocument::save, for every document and after any updates.

#include "support/Pos.h"
#include "text/Literals.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(keepsBytes(document, 60, random));
    EXPECT_EQ(document.documentElement().attribute(pos::ATTR_AUTHOR), "proof_director"_s);
  }
}

} // namespace
