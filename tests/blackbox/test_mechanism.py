"""Mechanism descriptions and resource files, as far as a run shows them: which tools are found and
with which arguments each is called."""

import unittest

from harness import (ABORTED, FILES, RECORD, ReplayCase, WRITER, candidate, driver_pass, element,
                     param, po, proving, report)

PROOF = proving() + driver_pass("d1", 1, [("T0", "+")]) + report(proved=1, externally=1)


class Described(ReplayCase):
    def setUp(self):
        super().setUp()
        self.answers({"*": "Proved"})
        self.fresh()

    def fresh(self):
        self.pos(po("T0", candidate()))

    def assertProves(self, *more, **options):
        self.fresh()
        self.replay(*more, out=PROOF, **options)

    def assertAborts(self, what, *more):
        run = self.run_program("-m", "m.xml", *FILES, *more)
        self.assertEqual((ABORTED, b""), (run.status, run.out), str(run))
        self.assertIn(what, run.err, str(run))


class Parameters(Described):
    def test_the_rules_of_writer_and_of_prover_and_reader(self):
        file = "work/comp_m_d1_0_0.po2"
        # name, value, separator: the writer's arguments, the prover's and the reader's arguments
        rows = [
            ((None, None, None), [""], []),
            ((None, "v", None), ["v"], ["v"]),
            ((None, "", None), [""], [""]),
            ((None, "v", "="), ["v"], ["v"]),
            (("n", None, None), ["n"], ["n"]),
            (("n", None, "="), ["n"], ["n"]),
            (("n", "", None), ["n"], ["n", ""]),
            (("n", "", "="), ["n"], ["n="]),
            (("", "v", None), ["v"], ["", "v"]),
            (("", "v", "="), ["v"], ["=v"]),
            (("", "", None), [""], ["", ""]),
            (("n", "v", None), ["n", "v"], ["n", "v"]),
            (("n", "v", " "), ["n", "v"], ["n", "v"]),
            (("n", "v", ""), ["nv"], ["n", "v"]),
            (("n", "v", "  "), ["n  v"], ["n", "v"]),
            (("n", "v", "\t"), ["n\tv"], ["n", "v"]),
            (("n", "v", "="), ["n=v"], ["n=v"]),
            (("n", "v", " : "), ["n : v"], ["n : v"]),
            (("%1", "%2", "%3"), ["%1%3%2"], ["%1%3%2"]),
            (("n", "a b 'c' \"d\" $HOME *", None), ["n", "a b 'c' \"d\" $HOME *"],
             ["n", "a b 'c' \"d\" $HOME *"]),
            (("\u00e9", "\u2200", "="), ["\u00e9=\u2200"], ["\u00e9=\u2200"]),
            (("${file}", "<${file}${file}>", None), ["${file}", "<${file}${file}>"],
             [file, f"<{file}{file}>"]),
            (("f", "${file}", "="), ["f=${file}"], [f"f={file}"]),
            (("f", "v", "${file}"), ["f${file}v"], ["f${file}v"]),
            (("f", "${FILE}", None), ["f", "${FILE}"], ["f", "${FILE}"]),
            (("${timeout}", "x${timeout}${timeout}", None),
             ["${timeout}", "x${timeout}${timeout}"], ["${timeout}", "x3030"]),
            (("t", "${timeout}", "="), ["t=${timeout}"], ["t=30"]),
        ]
        params = [param(name, value, separator) for (name, value, separator), _, _ in rows]
        self.script("plain", RECORD + "exec cat")
        self.script("say", RECORD + "cat >/dev/null; echo Proved")
        self.mechanism(self.driver(writer=self.tool("writer", None, *params),
                                   prover=self.tool("prover", "plain", *params, timeout="30"),
                                   reader=self.tool("reader", "say", *params)), trust="always")
        self.assertProves()
        head = ["-a", "0", "0", "-i", "comp.pog", "-o", file]
        self.assertEqual([head + sum((w for _, w, _ in rows), [])], self.calls("writer"))
        self.assertEqual([sum((p for _, _, p in rows), [])], self.calls("plain"))
        # The reader is told no time limit.
        told = [[a.replace("x3030", "x${timeout}${timeout}").replace("t=30", "t=${timeout}")
                 for a in p] for _, _, p in rows]
        self.assertEqual([sum(told, [])], self.calls("say"))


class Descriptions(Described):
    def test_values_outside_their_tables_end_the_run(self):
        undefined = self.tool("writer", None, element("expand", name="Z"))
        for name, driver, attributes in [("trust", self.driver(), {"trust": ""}),
                                         ("group", self.driver(group="all"), {}),
                                         ("definition", self.driver(writer=undefined), {})]:
            with self.subTest(name):
                self.mechanism(driver, **attributes)
                self.assertAborts(b"map::at")

    def test_no_description(self):
        self.write("m.xml", "hello")
        self.replay(out=proving() + report(unproved=1))

    def test_the_name_is_that_of_the_file(self):
        for path, name in {"a.b/My.Mech.xml": "My.Mech", "a.b/none": "none",
                           "a.b/\u00e9t\u00e9.xml": "\u00e9t\u00e9"}.items():
            with self.subTest(path):
                self.write(path, "<mechanism/>")
                self.pos()
                self.expect("-m", path, *FILES, out=proving(name) + report())


class Location(Described):
    """Where tools are looked for. Each folder's writer leaves its own log."""

    def setUp(self):
        super().setUp()
        for folder in ("one", "two", "\u00e9"):
            path = self.write(f"{folder}/seeker", "#!/bin/sh\n" + RECORD + WRITER)
            path.chmod(0o755)

    def assertFinds(self, expected, writer, *more):
        """expected: the one file that is run; None: none is found."""
        for log in self.root.rglob("*.log"):
            log.unlink()
        self.mechanism(self.driver(writer=writer), trust="always")
        if expected is None:
            self.expect("-m", "m.xml", *FILES, *more, status=1, out="",
                        err="Cannot locate tool w\n")
        else:
            self.assertProves(*more)
            self.assertTrue(self.path(f"{expected}.log").exists(), "another file was run")

    def test_installation_directories_come_in_their_order_then_the_working_directory(self):
        rows = [
            ("first directory", "one/seeker", "seeker", ("-i", "one", "-i", "two")),
            ("order of the options", "two/seeker", "seeker", ("-i", "two", "--installdir=one")),
            ("not searched so far", "one/seeker", "seeker", ("-i", "one", "-i", "missing")),
            ("working directory", "one/seeker", "one/seeker", ("-i", "two")),
            ("working directory, no -i", "two/seeker", "two/seeker", ()),
            ("an absolute path needs no directory", "one/seeker", f"{self.root}/one/seeker",
             ("-i", "missing")),
            ("a missing absolute path", None, f"{self.root}/seeker", ("-i", "one")),
            ("no path", None, None, ("-i", "one")),
        ]
        for name, expected, path, options in rows:
            with self.subTest(name):
                self.assertFinds(expected, element("writer", name="w", path=path), *options)
        with self.subTest("a missing directory"):
            self.mechanism(self.driver(writer=element("writer", path="seeker")))
            self.assertAborts(b"missing", "-i", "missing")

    def test_tools_that_are_not_found(self):
        nothing = f"{self.root}/nothing"
        rows = {
            "writer": (self.driver(writer=element("writer", name="W", path=nothing)),
                       "Cannot locate tool W\n"),
            "prover": (self.driver(prover=element("prover", name="P", path=nothing)),
                       "Cannot locate prover P\n"),
            "reader": (self.driver(reader=element("reader", name="\u00e9", path=nothing)),
                       "Cannot locate tool \u00e9\n"),
            "no writer": (element("driver", name="d1"), "Cannot locate tool \n"),
            "no prover": (element("driver", self.tool("writer")), "Cannot locate prover \n"),
        }
        for name, (driver, err) in rows.items():
            with self.subTest(name):
                self.mechanism(self.driver(), driver)
                self.expect("-m", "m.xml", *FILES, status=1, out="", err=err)

    def test_resources_point_elsewhere(self):
        one, two = f"{self.root}/one/seeker", f"{self.root}/two/seeker"
        key = "MVL*Proof*Alto_Path:"
        rows = [  # what, the file that is run, the description's path, each -r file
            ("no resource file", "one/seeker", one, []),
            ("a resource", "two/seeker", one, [f"{key} {two}\n"]),
            ("without path", "two/seeker", None, [f"{key} {two}\n"]),
            ("a line without its end", "one/seeker", one, [f"{key} {two}"]),
            ("a second file replaces the first", "one/seeker", one,
             [f"{key} {two}\n", f"MVL*Proof*Other: {two}\n"]),
            ("a relative value is looked for", "two/seeker", one, [f"{key} seeker\n"]),
            ("Latin-1", "\u00e9/seeker", one, [f"{key} {self.root}/\u00e9/seeker\n"]),
            ("a value that leads nowhere", None, one, [f"{key} {two}x\n"]),
        ]
        for name, expected, path, contents in rows:
            with self.subTest(name):
                options = ["-i", "two", "-i", "one"]
                for number, content in enumerate(contents):
                    self.write(f"resources{number}", content.encode("latin-1"))
                    options += ["-r", f"resources{number}"]
                self.assertFinds(expected, element("writer", name="w", path=path,
                                                   resource="Any*Thing*Alto_Path"), *options)


class ResourceMessages(Described):
    def test_messages_never_stop_the_run(self):
        self.mechanism(trust="always")
        self.write("bad", "MVL*prover\nMVL*prover*x\n  MVL*prover*x:  \nMVL*p*x: \\\n")
        syntax = "bad:{}: Resource syntax error: {}\n".format
        self.assertProves("-r", "missing", "-r", "bad", "-r", "/dev/null", err=(
            "Unable to open resource file missing because: No such file or directory\n"
            + syntax(1, "tool name not found") + syntax(2, "resource name or colon not found")
            + syntax(3, "resource value not found") + syntax(4, "resource value not found")))

    def test_without_a_home(self):
        self.mechanism(trust="always")
        self.write("r", "MVL*Proof*x: 1\n")
        self.assertProves("-r", "r", env={"HOME": None})


if __name__ == "__main__":
    unittest.main()
