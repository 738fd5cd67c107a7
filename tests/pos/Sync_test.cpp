#include "pos/Sync.h"
#include "support/Fixtures.h"
#include "text/Literals.h"

#include <random>

using namespace kelvarune;

namespace {

// "a:xy b:z": obligations with the digests of their goals, "-" for none.
std::vector<pos::listed_obligation_t> listOf(const std::string &text) {
  std::vector<pos::listed_obligation_t> list;
  for (const QString &word : QString::fromStdString(text).split(QLatin1Char(' '))) {
    list.push_back({word.section(QLatin1Char(':'), 0, 0), {}});
    for (const QChar digest : word.section(QLatin1Char(':'), 1))
      list.back().goals.push_back({digest, "f:1"_s});
  }
  return list;
}

// Each goal with its name as an attribute of its own; only the first has the mechanism.
QDomDocument documentFor(const std::string &text) {
  std::string xml = "<r author='me'><!-- x -->";
  for (const pos::listed_obligation_t &obligation : listOf(text)) {
    const std::string tag = obligation.tag.toStdString();
    xml += "<Proof_Obligation was='" + tag + "'><Tag>" + tag + "</Tag>";
    int number = 0;
    for (const pos::listed_goal_t &goal : obligation.goals) {
      const std::string digest = goal.digest.toStdString();
      xml += "<Simple_Goal status='Proved' was='" + tag + std::to_string(++number) + "'" +
             (digest == "-" ? "" : " digest='" + digest + "'") +
             "><Mechanism name='m' status='Proved'><Driver name='d' status='Proved'/>"
             "<Driver name='e' status='Unproved'/></Mechanism></Simple_Goal>";
    }
    xml += "</Proof_Obligation>";
  }
  return documentOf(xml + "</r>");
}

// "a:a1,b2 b:new", as documentFor named them.
std::string shown(const QDomDocument &document) {
  QStringList obligations;
  for (const pos::obligation_t &obligation : pos::obligationsOf(document)) {
    QStringList goals;
    for (const QDomElement &goal : obligation.goals)
      goals << goal.attribute("was"_s, "new"_s);
    obligations << obligation.tag + ":"_s + goals.join(","_s);
  }
  return obligations.join(" "_s).toStdString();
}

std::string digestsOf(const QDomDocument &document) {
  QStringList obligations;
  for (const pos::obligation_t &obligation : pos::obligationsOf(document)) {
    obligations << obligation.tag + ":"_s;
    for (const QDomElement &goal : obligation.goals)
      obligations.last() += goal.attribute(pos::ATTR_DIGEST);
  }
  return obligations.join(" "_s).toStdString();
}

// Kept, moved, changed, added, removed.
std::string countsOf(const pos::sync_plan_t &plan) {
  std::array<std::size_t, 5> counts = {plan.kept};
  for (const pos::goal_change_t &change : plan.changes)
    ++counts.at(static_cast<std::size_t>(change.kind) + 1);
  std::string text;
  for (const std::size_t count : counts)
    text += std::to_string(count);
  return text;
}

struct sync_row_t {
  const char *name;
  std::string before, listed, after, counts;
  bool inStep = false;
  pos::undigested_t undigested = pos::undigested_t::CHANGED;
};

TEST(Sync, KeepsWhatIsSaidOfEqualGoals) {
  const sync_row_t rows[] = {
      {"the same", "a:xy b:z", "a:xy b:z", "a:a1,a2 b:b1", "30000", true},
      {"one changed", "a:xy b:z", "a:xq b:z", "a:a1,new b:b1", "20100"},
      {"one before the others", "a:xyz", "a:qxyz", "a:new,a1,a2,a3", "03010"},
      {"one of several gone", "a:xyz", "a:xz", "a:a1,a3", "11001"},
      {"a file renamed", "a:xy b:z", "c:xy b:z", "c:a1,a2 b:b1", "12000"},
      {"obligations exchanged", "a:x b:y", "b:y a:x", "b:b1 a:a1", "20000"},
      {"two goals exchanged", "a:x b:y", "a:y b:x", "a:b1 b:a1", "02000"},
      {"one tag twice", "a:x a:y", "a:y a:x", "a:a1 a:a1", "02000"},
      {"equal goals, the nearest", "a:qx b:x", "a:x b:q", "a:a2 b:a1", "02001"},
      {"more equal goals than before", "a:x", "a:xxx", "a:a1,new,new", "10020"},
      {"an empty obligation more", "a:x", "a:x b:", "a:a1 b:", "10000"},
      {"all gone", "a:x b:y", "c:", "c:", "00002"},
      {"no digest", "a:-y", "a:xy", "a:new,a2", "10100"},
      {"no digest, adopted", "a:-y", "a:xy", "a:a1,a2", "20000", true, pos::undigested_t::ADOPTED},
      {"no digest, and moved", "a:-", "b:x", "b:new", "00011", false, pos::undigested_t::ADOPTED},
  };
  for (const sync_row_t &row : rows) {
    SCOPED_TRACE(row.name);
    QDomDocument document = documentFor(row.before);
    const auto listed = listOf(row.listed);
    const pos::sync_plan_t plan = pos::planSync(document, listed, row.undigested);
    EXPECT_EQ(countsOf(plan), row.counts);
    EXPECT_EQ(plan.isInStep(), row.inStep);
    pos::sync(document, listed, plan);
    EXPECT_EQ(shown(document), row.after);
    EXPECT_EQ(digestsOf(document), row.listed);
    EXPECT_TRUE(pos::planSync(document, listed).isInStep());
    EXPECT_EQ(document.documentElement().attribute("author"_s), "me"_s);
    EXPECT_TRUE(document.documentElement().firstChild().isComment());
    EXPECT_EQ(document.documentElement().firstChildElement().attribute("was"_s, "a"_s).size(), 1);
    for (const pos::goal_t &goal : pos::goalsOf(document)) {
      const QDomElement mechanism = goal.element.firstChildElement(pos::TAG_MECHANISM);
      const bool isOld = goal.element.hasAttribute("was"_s);
      EXPECT_EQ(mechanism.attribute(pos::ATTR_STATUS), isOld ? "Proved"_s : "Unproved"_s);
      EXPECT_EQ(mechanism.childNodes().count(), 2);
      EXPECT_EQ(pos::statusOf(goal.element), isOld ? pos::PROVED : pos::UNPROVED);
      EXPECT_EQ(goal.element.attribute(pos::ATTR_SOURCE), "f:1"_s);
    }
  }
}

// Whatever becomes of the goals: what continues a goal has its digest, and no goal is lost while a
// listed one of its digest starts again.
TEST(Sync, NeverGivesAGoalTheStatusOfAnother) {
  std::mt19937 random; // the same each time
  const auto someList = [&random] {
    std::string text;
    for (unsigned i = 0, count = 1 + random() % 4; i < count; ++i) {
      text +=
          (text.empty() ? "" : " ") + std::string(1, static_cast<char>('a' + random() % 3)) + ":";
      for (unsigned j = random() % 4; j > 0; --j)
        text += static_cast<char>('u' + random() % 5);
    }
    return text;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::string before = someList();
    const std::string now = someList();
    SCOPED_TRACE(before + " -> " + now);
    QDomDocument document = documentFor(before);
    const std::vector<pos::goal_t> goals = pos::goalsOf(document);
    const auto listed = listOf(now);
    const pos::sync_plan_t plan = pos::planSync(document, listed);
    std::multiset<QString> lost;
    std::multiset<QString> again;
    for (const pos::goal_t &goal : goals)
      lost.insert(goal.element.attribute(pos::ATTR_DIGEST));
    std::size_t number = 0;
    for (const pos::listed_obligation_t &obligation : listed) {
      for (const pos::listed_goal_t &goal : obligation.goals) {
        const auto origin = plan.origins[number++];
        if (!origin) {
          again.insert(goal.digest);
          continue;
        }
        ASSERT_EQ(goals[*origin].element.attribute(pos::ATTR_DIGEST), goal.digest);
        lost.erase(lost.find(goal.digest));
      }
    }
    for (const QString &digest : lost)
      ASSERT_EQ(again.count(digest), 0U) << digest.toStdString();
    pos::sync(document, listed, plan);
    ASSERT_EQ(digestsOf(document), now);
  }
}

} // namespace
