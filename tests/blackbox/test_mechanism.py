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

    def test_time_limits(self):
        self.script("plain", RECORD + "exec cat")
        for timeout, expected in {None: "${timeout}s", "": "${timeout}s", "7": "7s",
                                  "soon": "soons", " 8": " 8s"}.items():
            with self.subTest(timeout):
                self.path("tools/plain.log").unlink(missing_ok=True)
                self.mechanism(self.driver(prover=self.tool(
                    "prover", "plain", param(value="${timeout}s"), timeout=timeout)),
                               trust="always")
                self.assertProves()
                self.assertEqual([[expected]], self.calls("plain"))

    def test_definitions(self):
        def expand(name):
            return element("expand", name=name)

        first = element("definition", param("-a", "1"), expand("nested"), param(value="${file}"),
                        name="A")
        second = element("definition", param("-b"), name="B")
        empty = param("P", "ignored")
        self.script("plain", RECORD + "exec cat")
        writer = self.tool("writer", None, expand("A"), param("own"), expand("P"), param("two"),
                           expand("A"))
        prover = self.tool("prover", "plain", expand("A"))
        # A definition counts wherever it stands, a param beside it is one without parameters.
        self.mechanism(self.driver(writer=writer, prover=prover), first, empty, second,
                       trust="always")
        self.assertProves()
        self.assertEqual(["own", "two", "-a", "1", "${file}", "-a", "1", "${file}"],
                         self.calls("writer")[0][7:])
        self.assertEqual([["-a", "1", "work/comp_m_d1_0_0.po2"]], self.calls("plain"))

        # Only the first definition is one; what is not defined ends the run.
        for name, parts in {"second definition": [first, second, expand("B")],
                            "param before the definition": [empty, first, expand("P")],
                            "never defined": [first, expand("Z")]}.items():
            with self.subTest(name):
                self.mechanism(*parts[:-1], self.driver(writer=self.tool("writer", None,
                                                                         parts[-1])))
                self.assertAborts(b"map::at")


class Descriptions(Described):
    def test_values_outside_their_tables_end_the_run(self):
        for name, parts, attributes in [("trust", [self.driver()], {"trust": "Always"}),
                                        ("empty trust", [self.driver()], {"trust": ""}),
                                        ("group", [self.driver(group="all")], {})]:
            with self.subTest(name):
                self.mechanism(*parts, **attributes)
                self.assertAborts(b"map::at")

    def test_descriptions_without_drivers(self):
        for name, text in {"empty": "", "not XML": "hello", "other root": "<mechanisms><driver/>"
                           "</mechanisms>", "no driver": "<mechanism trust='always'/>"}.items():
            with self.subTest(name):
                self.write("m.xml", text)
                self.replay(out=proving() + report(unproved=1))

    def test_what_is_foreign_or_double_is_ignored(self):
        driver = self.driver()
        driver.insert(0, element("other", self.tool("writer", "none")))
        driver.append(self.tool("writer", "none"))
        driver.append(self.tool("reader", "none"))
        self.mechanism(element("other", self.driver("hidden", writer="none")), driver,
                       trust="always")
        self.assertProves()

    def test_the_name_is_that_of_the_file(self):
        for path, name in {"a.b/My.Mech.xml": "My.Mech", "a.b/none": "none",
                           "a.b/\u00e9t\u00e9.xml": "\u00e9t\u00e9"}.items():
            with self.subTest(path):
                self.write(path, "<mechanism/>")
                self.pos()
                self.expect("-m", path, *FILES, out=proving(name) + report())


class Location(Described):
    """Where tools are looked for. Each folder's writer leaves its own log."""

    def put(self, folder, name="seeker", mode=0o755):
        path = self.write(f"{folder}/{name}", "#!/bin/sh\n" + RECORD + WRITER)
        path.chmod(mode)
        return f"{folder}/{name}"

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
        for folder in ("one", "two"):
            self.put(folder)
        self.put("other")
        self.put("one", "sub/deep")
        self.put(".", "here.sh")
        self.put("two", "win.exe")
        self.put("two", "suffixed.sh.exe")
        self.put("one", "later", mode=0o655)
        self.put("two", "later", mode=0o700)
        self.path("one/folder").mkdir()
        self.path("two/link").symlink_to("../other/seeker")
        self.path("two/loop").symlink_to("loop")
        both = ("-i", "one", "-i", "two")
        rows = [
            ("first directory", "one/seeker", "seeker", both),
            ("order of the options", "two/seeker", "seeker", ("-i", "two", "--installdir=one")),
            ("below a directory", "one/sub/deep", "sub/deep", both),
            ("working directory", "here.sh", "here.sh", both),
            ("working directory, no -i", "other/seeker", "other/seeker", ()),
            ("with .exe", "two/win.exe", "win", both),
            ("no .exe after an extension", None, "suffixed.sh", both),
            ("not executable by its owner", "two/later", "later", both),
            ("a directory is no tool", None, "folder", both),
            ("a link keeps its name", "two/link", "link", both),
            ("an absolute link", "two/link", f"{self.root}/two/link", ()),
            ("a loop of links", None, "loop", both),
            ("a missing absolute path", None, f"{self.root}/seeker", both),
            ("no path", None, None, both),
            ("a path up from a directory", "other/seeker", "../other/seeker", both),
            ("an absolute path needs no directory", "one/seeker", f"{self.root}/one/seeker",
             ("-i", "missing")),
        ]
        for name, expected, path, options in rows:
            with self.subTest(name):
                self.assertFinds(expected, element("writer", name="w", path=path), *options)

    def test_a_missing_installation_directory_ends_the_run_at_the_first_relative_path(self):
        self.put(".", "seeker")
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
        for folder in ("one", "two", "\u00e9"):
            self.put(folder)
        one, two = f"{self.root}/one/seeker", f"{self.root}/two/seeker"

        def writer(reference="Any*Thing*Alto_Path", path=one):
            return element("writer", name="w", path=path, resource=reference)

        key = "MVL*Proof*Alto_Path:"
        rows = [  # what, the file that is run, the writer, the contents of each -r file
            ("no resource file", "one/seeker", writer(), []),
            ("a resource", "two/seeker", writer(), [f"{key} {two}\n"]),
            ("without stars", "two/seeker", writer("Alto_Path"), [f"{key} {two}\n"]),
            ("without path", "two/seeker", writer(path=None), [f"{key} {two}\n"]),
            ("dots, comments, other lines", "two/seeker", writer(),
             [f"! note\n\nwords\n  MVL.Proof*Alto_Path:{two}  \t\nmvl*Proof*Alto_Path: x\n"]),
            ("value on the next line", "two/seeker", writer(), [f"{key} \\\n   {two}\n"]),
            ("cleaned", "two/seeker", writer(), [f"{key}{self.root}/one//./../two/seeker/\n"]),
            ("the last definition", "two/seeker", writer(), [f"{key} {one}x\n{key} {two}\n"]),
            ("another tool's", "one/seeker", writer(), [f"MVL*Prover*Alto_Path: {two}\n"]),
            ("another case", "one/seeker", writer("alto_path"), [f"{key} {two}\n"]),
            ("a line without its end", "one/seeker", writer(), [f"{key} {two}"]),
            ("a second file replaces the first", "one/seeker", writer(),
             [f"{key} {two}\n", f"MVL*Proof*Other: {two}\n"]),
            ("a relative value is looked for", "two/seeker", writer(), [f"{key} seeker\n"]),
            ("Latin-1", "\u00e9/seeker", writer(), [f"{key} {self.root}/\u00e9/seeker\n"]),
            ("a value that leads nowhere", None, writer(), [f"{key} {two}x\n"]),
        ]
        for name, expected, description, contents in rows:
            with self.subTest(name):
                options = ["-i", "two", "-i", "one"]
                for number, content in enumerate(contents):
                    self.write(f"resources{number}", content.encode("latin-1"))
                    options += ["-r", f"resources{number}"]
                self.assertFinds(expected, description, *options)


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
