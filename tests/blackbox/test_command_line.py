"""The command line: options and their forms, refusals, the command echo, and which mechanisms are
replayed."""

import unittest

from harness import (ABORTED, FILES, PROGRAM, ReplayCase, candidate, driver_pass, echo, goal, mech,
                     po, proving, report)

HELP = """\
kelvarune -i tooldir -r resources (-m mech.xml | -M dir) -s comp.pos -p comp.pog -d bdp/mech [-h]
\t-r, --resources=FILE
\t\tResource file
\t-i, --installdir=DIR
\t\tTools installation directory (optional, may be repeated)
\t-m, --mechanism=FILE
\t\tFile with proof mechanism description
\t-M, --mechanism-directory=DIR
\t\tDirectory with proof mechanism descriptions
\t-s,  --pos=FILE
\t\tFile with proof obligation statuses
\t-p, --pog=FILE
\t\tFile with proof obligations
\t-d,  --directory=DIRECTORY
\t\tDirectory for temporary files
\t-h, --help
\t\tPrints this and exits with error code
"""

ONE_PROOF = (proving() + driver_pass("d1", 1, [("T0", "+")])
             + report(proved=1, externally=1))
ALL = ("-m", "m.xml", *FILES)


class OneGoal(ReplayCase):
    """A component with one goal that the mechanism proves."""

    def setUp(self):
        super().setUp()
        self.answers({"*": "Proved"})
        self.mechanism(trust="always")
        self.pos(po("T0", candidate()))


class Refusals(OneGoal):
    def test_help_is_printed_and_nothing_else_done(self):
        rows = {
            "nothing given": ([], ""),
            "help alone": (["-h"], ""),
            "help after complete options": ([*ALL, "-h"], ""),
            "help hides what follows": ([*ALL, "-h", "--trace"], ""),
            "no temporary directory": (["-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog"], ""),
            "no POS": (["-m", "m.xml", "-p", "comp.pog", "-d", "work"], ""),
            "empty POS": ([*ALL, "-s", ""], ""),
            "neither -m nor -M": (list(FILES), ""),
            "both -m and -M": ([*ALL, "-M", "."], ""),
            "empty mechanism": ([*FILES, "--mechanism="], ""),
            "no concurrency": ([*ALL, "-c", "0"], ""),
            "concurrency without digits": ([*ALL, "-c", "x"], ""),
            "unknown option": ([*ALL, "-z"], f"{PROGRAM}: invalid option -- 'z'\n"),
            "unknown long option": ([*ALL, "--no"], f"{PROGRAM}: unrecognized option '--no'\n"),
            "short option without value":
                ([*ALL, "-i"], f"{PROGRAM}: option requires an argument -- 'i'\n"),
            "long option without value":
                ([*ALL, "--pos"], f"{PROGRAM}: option '--pos' requires an argument\n"),
            "value for a flag":
                ([*ALL, "--xml=1"], f"{PROGRAM}: option '--xml' doesn't allow an argument\n"),
            "the echo comes before the check": (["-t", "2"], echo("-t", "2")),
            "but not before help": (["-t", "2", "--help"], ""),
        }
        before = self.path("comp.pos").read_bytes()
        for name, (args, err) in rows.items():
            with self.subTest(name):
                self.expect(*args, status=1, out=HELP, err=err)
        self.assertEqual(before, self.path("comp.pos").read_bytes())

    def test_a_long_option_that_lacks_its_value_aborts_before_any_output(self):
        for option in ("--installdir", "--mechanism", "--mechanism-directory", "--concurrency",
                       "--trace"):
            for name, args in {"last": [*ALL, "-x", "-t", "2", option],
                               "value as another word": [option, "4", *ALL],
                               "before help": [option, "-h"]}.items():
                with self.subTest(option=option, place=name):
                    self.expect(*args, status=ABORTED, out="")


class Forms(OneGoal):
    def test_accepted_forms(self):
        long = ("--mechanism=m.xml", "--pos=comp.pos", "--pog=comp.pog", "--directory=work",
                "--concurrency=1", "--trace=0", "--installdir=tools")
        rows = {
            "short": ALL,
            "values glued to short options": ("-mm.xml", "-scomp.pos", "-pcomp.pog", "-dwork"),
            "long": long,
            "long with separate words":
                ("--mechanism=m.xml", "--pos", "comp.pos", "--pog", "comp.pog", "--directory",
                 "work"),
            "abbreviated": ("--mechanism=m.xml", "--conc=1", *FILES),
            "stray words": ("stray", *ALL, "words"),
            "the last one wins":
                ("-m", "no.xml", "-s", "no.pos", "-p", "no.pog", "-d", "nowhere", "-c", "0", *ALL,
                 "-c", "1"),
            "an emptied -M does not count": ("-M", ".", *ALL, "--mechanism-directory="),
            "concurrency with a tail": (*ALL, "-c", "4abc"),
            "concurrency with blanks and a sign": (*ALL, "-c", " +2"),
            "trace without digits": (*ALL, "-t", "x"),
        }
        for name, args in rows.items():
            with self.subTest(name):
                self.pos(po("T0", candidate()))
                self.expect(*args, out=ONE_PROOF)
                self.assertWorkIsEmpty()
        self.assertEqual({"comp.pog"}, {call[4] for call in self.calls("writer")})

    def test_any_trace_level_but_0_echoes_the_command(self):
        for level in ("2", "-1", "3x"):
            with self.subTest(level):
                self.pos(po("T0", candidate()))
                args = (*ALL, "-t", level, "-x")
                self.expect(*args, err=echo(*args), out="<proof>\n" + proving(xml=True)
                            + driver_pass("d1", 1, [("T0", "+")], xml=True)
                            + report(proved=1, externally=1, xml=True))

    def test_component_names(self):
        rows = {"/a/b.c/comp.pos": "comp", "/a.b/comp": "comp", "comp.tar.pos": "comp.tar",
                "dir/": "", "nowhere/\u00e9t\u00e9.pos": "\u00e9t\u00e9"}
        for path, component in rows.items():
            with self.subTest(path):
                self.mechanism(self.driver())
                unreadable = f"ErrorFile not readable {path}\n"
                self.expect("-M", ".", *FILES, "-s", path,
                            out=unreadable + unreadable + report(component=component))


class Mechanisms(ReplayCase):
    """-m and -M: which descriptions are replayed, and what their failures do."""

    def setUp(self):
        super().setUp()
        self.answers({"a.*": "Proved", "b.*": "Disproved"})
        for name, driver in {"Alto": "a", "Basso": "b"}.items():
            self.mechanism(self.driver(driver), name=name, trust="always", folder="mechs")

    def test_the_registered_mechanisms_in_order_of_first_appearance(self):
        self.pos(po("T0", goal(mech("Basso", b="Proved"), mech("Alto", a="Proved"))),
                 po("T1", goal(mech("Alto", a="Disproved"), mech("Basso", b="Proved"))))
        self.expect("-M", "mechs", *FILES, out=(
            proving("Basso") + driver_pass("b", 2, [("T0", "!"), ("T1", "!")])
            + proving("Alto") + driver_pass("a", 0) + report(disproved=2)))
        self.assertPos(
            po("T0", goal(mech("Basso", "Disproved", b="Disproved"), mech("Alto", a="Proved"),
                          status="Disproved")),
            po("T1", goal(mech("Alto", a="Disproved"), mech("Basso", "Disproved", b="Disproved"),
                          status="Disproved")))
        self.assertWorkIsEmpty()

    def test_no_registered_mechanism(self):
        self.pos(po("T0", goal()))
        self.expect("-M", "mechs", *FILES, out=report(unproved=1))
        self.expect("-M", "mechs", *FILES, "-x", out="<proof>\n" + report(unproved=1, xml=True))

    def test_a_missing_description_ends_the_run_after_the_earlier_ones(self):
        self.pos(po("T0", goal(mech("Alto", a="Proved"), mech("Ghost", g="Proved"),
                               mech("Basso", b="Proved"))))
        self.expect("-M", "mechs", *FILES, status=1, err="Cannot open 'mechs/Ghost.xml'.\n",
                    out=proving("Alto") + driver_pass("a", 1, [("T0", "+")]))
        self.assertPos(po("T0", goal(mech("Alto", "Proved", a="Proved"), mech("Ghost", g="Proved"),
                                     mech("Basso", b="Proved"), status="Proved")))

    def test_a_missing_description_given_with_m(self):
        self.pos(po("T0", candidate()))
        self.expect("-m", "m.xml", *FILES, status=1, out="", err="Cannot open 'm.xml'.\n")
        self.expect("-m", "m.xml", *FILES, "-x", status=1, out="<proof>\n",
                    err="Cannot open 'm.xml'.\n")

    def test_a_mechanism_that_some_goal_does_not_know_is_not_played(self):
        document = [po("T0", goal(mech("Alto", a="Proved"))), po("T1", goal())]
        self.pos(*document)
        args = ("-M", "mechs", *FILES)
        self.expect(*args, out=proving("Alto") + "Error comp .pos\n" + report(unproved=2))
        self.expect(*args, "-x", out="<proof>\n" + proving("Alto", xml=True)
                    + "<error>Error comp .pos</error>\n" + report(unproved=2, xml=True))
        self.assertPos(*document, author=None)
        self.assertEqual([], self.calls("writer"))

    def test_a_missing_pos_file(self):
        text = proving("Alto") + "Error comp .pos\nErrorFile not readable comp.pos\n" + report()
        self.expect("-m", "mechs/Alto.xml", *FILES, out=text)
        self.assertFalse(self.path("comp.pos").exists())
        unreadable = "<error>File not readable comp.pos</error>\n"
        self.expect("-M", "mechs", *FILES, "-x",
                    out="<proof>\n" + unreadable * 2 + report(xml=True))


if __name__ == "__main__":
    unittest.main()
