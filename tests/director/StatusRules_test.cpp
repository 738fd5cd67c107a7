#include "director/StatusRules.h"
#include "text/Literals.h"

#include <gtest/gtest.h>

using namespace kelvarune;

using mechanism::trust_t;

namespace {

constexpr auto NEVER = trust_t::NEVER;
constexpr auto REDUNDANCY = trust_t::REDUNDANCY;
constexpr auto ALWAYS = trust_t::ALWAYS;

TEST(StatusRules, NextMechanismStatus) {
  const struct {
    const char *verdict;
    bool last;
    trust_t trust;
    pos::status_t current;
    pos::status_t next;
    bool write;
    bool concludes;
  } rows[] = {
      {"Proved", false, NEVER, pos::UNPROVED, pos::UNRELIABLY_PROVED, true, true},
      {"Proved", false, NEVER, pos::UNRELIABLY_PROVED, pos::UNRELIABLY_PROVED, false, true},
      {"Proved", false, ALWAYS, pos::UNPROVED, pos::PROVED, true, true},
      {"Proved", false, ALWAYS, pos::PROVED, pos::PROVED, false, true},
      {"Proved", false, ALWAYS, pos::DISPROVED, pos::PROVED, true, true},
      {"Proved", false, REDUNDANCY, pos::UNPROVED, pos::UNRELIABLY_PROVED, true, false},
      {"Proved", true, REDUNDANCY, pos::UNRELIABLY_PROVED, pos::PROVED, true, true},
      {"Proved", true, REDUNDANCY, pos::PROVED, pos::UNRELIABLY_PROVED, true, false},
      {"Unknown", false, ALWAYS, pos::UNPROVED, pos::UNPROVED, false, false},
      {"Unknown", true, ALWAYS, pos::UNPROVED, pos::UNKNOWN, true, false},
      {"Unknown", true, ALWAYS, pos::UNKNOWN, pos::UNKNOWN, false, false},
      {"Unknown", false, REDUNDANCY, pos::UNRELIABLY_PROVED, pos::UNRELIABLY_PROVED, false, false},
      {"Unknown", true, REDUNDANCY, pos::UNRELIABLY_PROVED, pos::UNKNOWN, true, false},
      {"Disproved", false, NEVER, pos::UNPROVED, pos::DISPROVED, true, true},
      {"Disproved", true, REDUNDANCY, pos::DISPROVED, pos::DISPROVED, false, true},
      {"else", false, ALWAYS, pos::UNPROVED, pos::PROVED, true, false},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(&row - rows);
    const QString verdict = QString::fromLatin1(row.verdict);
    const mechanism_update_t update =
        nextMechanismStatus(verdict, row.last, row.trust, row.current);
    EXPECT_EQ(update.status, row.next);
    EXPECT_EQ(update.write, row.write);
    EXPECT_EQ(concludesGoal(verdict, row.trust, row.current), row.concludes);
  }
}

TEST(StatusRules, GoalFollows) {
  for (const pos::status_t status : {pos::UNPROVED, pos::UNKNOWN})
    EXPECT_FALSE(goalFollows("Unproved"_s, status)) << status;
  for (const pos::status_t status : {pos::UNRELIABLY_PROVED, pos::PROVED, pos::DISPROVED}) {
    EXPECT_TRUE(goalFollows("Unproved"_s, status)) << status;
    EXPECT_EQ(goalFollows("UnreliablyProved"_s, status), status != pos::UNRELIABLY_PROVED)
        << status;
    EXPECT_FALSE(goalFollows("Proved"_s, status)) << status;
    EXPECT_FALSE(goalFollows("Unknown"_s, status)) << status;
  }
}

} // namespace
