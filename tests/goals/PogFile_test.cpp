#include "goals/PogFile.h"
#include "support/Fixtures.h"

#include <QDomDocument>

#include <tuple>

#include <fcntl.h>

using namespace kelvarune::goals;

namespace {

// Two bytes of a name that are no UTF-8, what XML has its own words for, and what it cannot hold.
const std::string ODD = "a%41 \"<&>\xff\xc3\xa9\x01\n\r\tb";
const std::string SCRIPT = "(assert (< x |\"&|))\n\t; %\r\n\x7f\xed\xa0\x80(check-sat)\n";

std::string writePog(const TemporaryDirectory &directory) {
  const std::string path = directory.bytePath("a.pog");
  const kelvarune::file::Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
  pog_header_t header;
  header.component = ODD;
  header.sources = {"..", ODD};
  header.embed = true;
  PogWriter writer(file.get(), header);
  writer.obligation("empty");
  writer.obligation("one/file", ODD, language_t::TPTP);
  writer.goal({0, 12, "d0", "Theorem", ODD});
  writer.goal({7, 99, "d1", "", ""}, "own.smt2", language_t::SMTLIB, SCRIPT);
  writer.obligation("last", "c.smt2");
  writer.goal({0, 1, "d2", "", ""});
  EXPECT_TRUE(writer.finish());
  return path;
}

auto partsOf(const goal_ref_t &goal) {
  return std::tuple(goal.tag, goal.number, goal.file, goal.language, goal.check, goal.line,
                    goal.digest, goal.name, goal.expected, goal.text);
}

TEST(PogFile, GivesBackWhatWasWritten) {
  const TemporaryDirectory directory;
  const std::string path = writePog(directory);
  auto opened = PogFile::open(path);
  ASSERT_EQ(opened.index(), 0U) << std::get<1>(opened);
  const PogFile &pog = std::get<0>(opened);
  EXPECT_EQ(partsOf(std::get<0>(pog.find(1, 0))),
            partsOf({"one/file", 1, ODD, language_t::TPTP, 0, 12, "d0", ODD, "Theorem", {}}));
  EXPECT_EQ(partsOf(std::get<0>(pog.find(1, 1))),
            partsOf({"one/file", 2, "own.smt2", language_t::SMTLIB, 7, 99, "d1", "", "", SCRIPT}));
  EXPECT_EQ(partsOf(std::get<0>(pog.find(2, 0))),
            partsOf({"last", 1, "c.smt2", language_t::SMTLIB, 0, 1, "d2", "", "", {}}));
  for (const auto &[obligation, goal] : {std::pair(0, 0), {1, 2}, {2, 1}, {3, 0}})
    EXPECT_EQ(pog.find(obligation, goal).index(), 1U) << obligation << " " << goal;

  std::string walk;
  EXPECT_EQ(pog.visit({[&](const std::string &tag, std::size_t goals) {
                         walk += tag + ":" + std::to_string(goals) + " ";
                       },
                       [&](const goal_ref_t &goal) { walk += goal.digest + " "; }}),
            std::nullopt);
  EXPECT_EQ(walk, "empty:0 one/file:2 d0 d1 last:1 d2 ");
  const auto header = std::get<0>(pog.header());
  EXPECT_EQ(std::tuple(header.component, header.sources.at(1), header.embed, header.skipBroken),
            std::tuple(ODD, ODD, true, false));
  documentOf(directory.read("a.pog")); // another reader of XML takes it, too
}

// Cut off anywhere, or with any byte another one: a message or a goal that is where it should be.
TEST(PogFile, SurvivesWhatIsBroken) {
  const TemporaryDirectory directory;
  const std::string whole = directory.read((writePog(directory), "a.pog"));
  int refused = 0;
  const auto look = [&](const std::string &content) {
    auto opened = PogFile::open(directory.write("b.pog", content));
    bool isRefused = opened.index() == 1;
    if (!isRefused) {
      const PogFile &pog = std::get<0>(opened);
      isRefused = pog.visit({nullptr, [](const goal_ref_t &) {}}).has_value();
      pog.header();
      for (const auto &[obligation, goal] : {std::pair(1, 0), {1, 1}, {2, 0}}) {
        const auto found = pog.find(obligation, goal);
        if (found.index() == 0) {
          EXPECT_EQ(std::get<0>(found).number, goal + 1U);
        }
      }
    }
    refused += isRefused ? 1 : 0;
  };
  for (std::size_t size = 0; size < whole.size(); ++size)
    look(whole.substr(0, size));
  EXPECT_EQ(refused, whole.size()); // each cut
  const std::string bytes("9\"0>\n\0/", 7);
  for (std::size_t i = 0; i < whole.size(); ++i)
    look(whole.substr(0, i) + bytes[i % bytes.size()] + whole.substr(i + 1));
}

} // namespace
