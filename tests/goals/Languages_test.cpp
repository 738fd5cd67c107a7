// What is taken out of scripts and problems: each goal's own text, and what makes goals equal.

#include "goals/SmtScript.h"
#include "goals/TptpProblem.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using namespace kelvarune::goals;
using testing::ElementsAreArray;

namespace {

struct language_row_t {
  const char *name;
  std::string text;
  std::vector<std::string> goals; // LINE EXPECTED NAME: own text, each line of it ended by "/"
  std::string fault = {};         // LINE:COLUMN: TEXT
};

class LanguageTest : public testing::TestWithParam<language_row_t> {
protected:
  using scan_t = std::function<std::optional<fault_t>(std::string_view, const visit_t &)>;
  using extract_t =
      std::function<std::optional<std::string>(std::string_view, std::size_t, std::string *)>;

  static void compare(const scan_t &scan, const extract_t &extract) {
    const language_row_t &row = GetParam();
    std::vector<std::string> goals;
    const std::optional<fault_t> fault = scan(row.text, [&](const check_t &check) {
      EXPECT_EQ(check.index, goals.size());
      std::string digest;
      std::string own = extract(row.text, check.index, &digest).value_or("none");
      EXPECT_EQ(digest, check.digest);
      // A goal's own text is that goal, alone.
      scan(own, [&](const check_t &again) { EXPECT_EQ(again.digest, digest) << own; });
      std::replace(own.begin(), own.end(), '\n', '/');
      goals.push_back(std::to_string(check.line) + " " + check.expected + " " + check.name + ": " +
                      own);
    });
    EXPECT_THAT(goals, ElementsAreArray(row.goals));
    EXPECT_EQ(fault ? std::to_string(fault->line) + ":" + std::to_string(fault->column) + ": " +
                          fault->text
                    : "",
              row.fault);
    EXPECT_EQ(extract(row.text, goals.size(), nullptr), std::nullopt);
  }
};

class SmtTest : public LanguageTest {};
class TptpTest : public LanguageTest {};

const std::string DEEP = std::string(1000000, '(') + "a" + std::string(1000000, ')');

const language_row_t SMT_ROWS[] = {
    {"plain",
     "(set-logic ALL)\n(declare-const a Bool) (assert a)\n(check-sat)",
     {"3  : (set-logic ALL)/(declare-const a Bool)/(assert a)/(check-sat)/"}},
    {"nothing", " ; (check-sat)\n", {}},
    {"stack",
     "(assert a)(push)(assert b)(check-sat)(push 2)(assert c)(pop 2)(check-sat)(pop 1)(check-sat)",
     {"1  : (assert a)/(assert b)/(check-sat)/", "1  : (assert a)/(assert b)/(check-sat)/",
      "1  : (assert a)/(check-sat)/"}},
    {"some_of_many_levels",
     "(push 2000000000)(assert a)(pop 1999999999)(assert b)(check-sat)(pop 1)(check-sat)",
     {"1  : (assert b)/(check-sat)/", "1  : (check-sat)/"}},
    {"declarations_fall_with_their_level",
     "(push)(declare-const a Int)(pop)(define-fun f () Int 1)(check-sat)",
     {"1  : (define-fun f () Int 1)/(check-sat)/"}},
    {"global_declarations",
     "(set-option :global-declarations true)(push)(declare-const a Bool)(assert a)(pop)"
     "(check-sat)(reset-assertions)(assert a)(check-sat)",
     {"1  : (set-option :global-declarations true)/(declare-const a Bool)/(check-sat)/",
      "1  : (set-option :global-declarations true)/(declare-const a Bool)/(assert a)/"
      "(check-sat)/"}},
    {"reset_assertions",
     "(set-logic A)(push)(assert a)(reset-assertions)(assert b)(check-sat)(pop)",
     {"1  : (set-logic A)/(assert b)/(check-sat)/"},
     "1:69: more levels are popped than were pushed"},
    {"reset",
     "(set-logic A)(set-option :o 1)(assert a)(reset)(set-logic B)(check-sat)",
     {"1  : (set-logic B)/(check-sat)/"}},
    {"last_value_of_an_option",
     "(set-option :o 1)(set-option :timeout 9)(set-option :p 1)(set-option :o 2)(check-sat)",
     {"1  : (set-option :o 2)/(set-option :p 1)/(check-sat)/"}},
    {"assuming",
     "(assert c)(check-sat-assuming (a (not b)))(check-sat)",
     {"1  : (assert c)/(check-sat-assuming (a (not b)))/", "1  : (assert c)/(check-sat)/"}},
    {"queries",
     "(echo \"x\")(check-sat)(get-model)(get-value (a))(assert a)(exit)(check-sat))",
     {"1  : (check-sat)/"}},
    {"statuses",
     "(set-info :source |(check-sat)|)(set-info :status unsat)(check-sat)\n(check-sat)\n"
     "(set-info :status sat)\n(check-sat)",
     {"1 unsat : (check-sat)/", "2  : (check-sat)/", "4 sat : (check-sat)/"}},
    {"quotes",
     "(assert |;)\"|)(assert (= s \"\"\")|;\"));)\n(check-sat)",
     {"2  : (assert |;)\"|)/(assert (= s \"\"\")|;\"))/(check-sat)/"}},
    {"not_utf8",
     "(assert |\xff|)(assert \xc3)(check-sat)",
     {"1  : (assert |\xff|)/(assert \xc3)/(check-sat)/"}},
    {"deep", "(assert " + DEEP + ")(check-sat)", {"1  : (assert " + DEEP + ")/(check-sat)/"}},
    {"deep_without_end",
     "(check-sat)\n" + std::string(1000000, '('),
     {"1  : (check-sat)/"},
     "2:1: a command without an end"},
    {"parenthesis_too_many",
     "(check-sat)\n )",
     {"1  : (check-sat)/"},
     "2:2: a closing parenthesis too many"},
    {"string_without_end", "(echo \"a\"\"", {}, "1:7: a string without an end"},
    {"symbol_without_end", "(assert\n |a)", {}, "2:2: a quoted symbol without an end"},
    {"bar_after_backslash",
     "(assert |a\\|)",
     {},
     "1:11: a backslash before the bar, which provers read in different ways"},
    {"no_command", "check-sat", {}, "1:1: this is no command"},
    {"no_name",
     "(check-sat)(\"check-sat\")",
     {"1  : (check-sat)/"},
     "1:12: a command without a name"},
    {"byte_0", std::string("(check-sat)\n(a\0)", 16), {}, "2:3: a byte 0"},
    {"control_character", "(a \x1b)", {}, "1:4: a control character"},
    {"global_too_late",
     "(declare-const a Int)(set-option :global-declarations true)",
     {},
     "1:22: too late for this option"},
    {"pop_of_no_number", "(push)(pop -1)", {}, "1:7: not a number of levels"},
};

const language_row_t TPTP_ROWS[] = {
    {"conjectures",
     "fof(a,axiom,p).\nfof('b c',conjecture, q & 3.5 = "
     "'x).').\nfof(c,conjecture,r).fof(d,lemma,s).",
     {"2  b c: fof(a,axiom,p)./fof(d,lemma,s)./fof('b c',conjecture, q & 3.5 = 'x).')./",
      "3  c: fof(a,axiom,p)./fof(d,lemma,s)./fof(c,conjecture,r)./"}},
    {"refutation",
     "% Status   : Unsatisfiable (says who)\ncnf(a,axiom,p).\ncnf(b,negated_conjecture,~ p).",
     {"3 Unsatisfiable : cnf(a,axiom,p)./cnf(b,negated_conjecture,~ p)./"}},
    {"axioms", "% Status : Satisfiable\nfof(a,axiom,p).", {}},
    {"comments",
     "/* fof(a,conjecture,p). */ fof(b /* ) */, conjecture, % )\n q).",
     {"1  b: fof(b /* ) */, conjecture, % )/ q)./"}},
    {"include",
     "include('axioms.ax',[two]).\nfof(c,conjecture,p).",
     {"2  c: fof(two,axiom,q)./fof(c,conjecture,p)./"}},
    {"include_from_library",
     "include('Axioms/L.ax').fof(c,conjecture,p).",
     {"1  c: fof(l,axiom,l)./fof(c,conjecture,p)./"}},
    {"include_of_nothing",
     "fof(c,conjecture,p).\ninclude('gone').",
     {},
     "2:1: cannot read the included gone: No such file or directory"},
    {"include_of_itself", "include('self.ax').", {}, "1:1: self.ax:1:1: self.ax includes itself"},
    {"no_full_stop", "fof(a,axiom,p)\nfof(b,axiom,p).", {}, "1:1: this is no formula"},
    {"no_end", "fof(a,axiom,(p).", {}, "1:1: a formula without an end"},
    {"quote_without_end", "fof('a\\',axiom,p).", {}, "1:5: a quoted text without an end"},
    {"comment_without_end", "/* fof(a,axiom,p).", {}, "1:1: a comment without an end"},
};

TEST_P(SmtTest, FindsGoals) {
  compare(scanSmt, smtGoal);
}

TEST_P(TptpTest, FindsGoals) {
  const QTemporaryDir directory;
  const std::string path = directory.path().toStdString();
  QDir(directory.path()).mkpath(QStringLiteral("library/Axioms"));
  std::ofstream(path + "/axioms.ax") << "fof(one,axiom,p).fof(two,axiom,q).";
  std::ofstream(path + "/self.ax") << "include('self.ax').";
  std::ofstream(path + "/library/Axioms/L.ax") << "fof(l,axiom,l).";
  ::setenv("TPTP", (path + "/library").c_str(), 1);
  using std::placeholders::_1;
  using std::placeholders::_2;
  using std::placeholders::_3;
  compare(std::bind(scanTptp, _1, path, _2), std::bind(tptpGoal, _1, path, _2, _3));
}

const auto NAME_OF_ROW = [](const auto &info) { return std::string(info.param.name); };
INSTANTIATE_TEST_SUITE_P(Rows, SmtTest, testing::ValuesIn(SMT_ROWS), NAME_OF_ROW);
INSTANTIATE_TEST_SUITE_P(Rows, TptpTest, testing::ValuesIn(TPTP_ROWS), NAME_OF_ROW);

std::string firstDigest(const std::string &script) {
  std::string digest;
  smtGoal(script, 0, &digest);
  return digest;
}

TEST(DigestTest, BlanksAndCommentsDoNotCount) {
  const std::string digest = firstDigest("(assert (= a |b c|))(assert d)(check-sat)");
  EXPECT_EQ(firstDigest("(assert ; why\n(= a\t|b c|)) (push) (assert d)\n(check-sat)"), digest);
  for (const char *other :
       {"(assert d)(assert (= a |b c|))(check-sat)", "(assert (= a |b  c|))(assert d)(check-sat)",
        "(assert (= a |b c|) (assert d))(check-sat)", "(assert (= a |b c|))(check-sat)",
        "(assert (= a |b c|))(assert d)(check-sat-assuming (e))"})
    EXPECT_NE(firstDigest(other), digest) << other;
  const std::string large(1 << 20, 'a'); // more than what is digested at once
  EXPECT_NE(firstDigest("(assert " + large + ")(check-sat)"),
            firstDigest("(assert " + large + "b)(check-sat)"));
}

} // namespace
