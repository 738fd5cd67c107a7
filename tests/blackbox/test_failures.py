"""Tools that fail. No failure stops a replay, and none may make it wait for ever: a hang fails the
test when its time limit runs out."""

import unittest

from harness import (CRASH, FILES, PROVER, ReplayCase, UNSTARTABLE, WRITER, candidate, driver_pass,
                     goal, mech, po, proving, report)

MEGABYTES = "yes 0123456789 | head -c 3000000"
SAYS_UNKNOWN = "cat >/dev/null; echo Unknown; echo Unknown\n"
HEAD = "-- ProofDirector -- "


class Failures(ReplayCase):
    NOTHING_READ = "Unexpected number of results. Expected: 2 Found: 1\n"
    PROVER_CRASHED = "Driver prover crashed.\n"
    READER_CRASHED = "Driver reader crashed.\n"
    NOT_FOUND = HEAD + "Secondary po work/comp_m_{}.po2 not found.\n"

    # Each row is a driver: its scripts by role (the others work), what it writes on standard error,
    # and whether the verdicts of its two goals, both unknown, are taken.
    ROWS = {
        "writer_unstartable": ({"writer": UNSTARTABLE},
                               HEAD + "Writer had an error.\n" + NOTHING_READ, False),
        "writer_crash": ({"writer": CRASH}, HEAD + "Writer crashed.\n" + NOTHING_READ, False),
        "writer_crash_late": ({"writer": f"({WRITER})\n{CRASH}"}, HEAD + "Writer crashed.\n", True),
        "writer_idle": ({"writer": ""}, NOT_FOUND + NOTHING_READ, False),
        "writer_idle_file": ({"writer": ""}, NOT_FOUND + NOTHING_READ, False),
        "writer_exit": ({"writer": f"({WRITER})\nexit 7"}, "", True),
        "writer_loud": ({"writer": f"{MEGABYTES}; {MEGABYTES} >&2\n{WRITER}"}, "", True),
        "prover_unstartable": ({"prover": UNSTARTABLE}, NOTHING_READ, False),
        "prover_unstartable_file": ({"prover": UNSTARTABLE}, NOTHING_READ, False),
        "prover_unstartable_no_po": ({"writer": "", "prover": UNSTARTABLE},
                                     NOT_FOUND + NOTHING_READ, False),
        "prover_crash": ({"prover": CRASH}, PROVER_CRASHED, False),
        "prover_crash_late": ({"prover": PROVER + CRASH}, PROVER_CRASHED, False),
        # Its reader never ends by itself.
        "prover_crash_file": ({"prover": CRASH, "reader": "exec sleep 1000"}, PROVER_CRASHED,
                              False),
        "prover_exit": ({"prover": PROVER + "exit 9"}, "", True),
        "prover_ignores_input": ({"writer": WRITER.replace("exit", f"{MEGABYTES} >>\"$2\"; exit"),
                                  "prover": "echo 0 0; echo 0 1"}, "", True),
        "prover_slow": ({"prover": "sleep 0.3\n" + PROVER}, "", True),
        "prover_unread": ({"prover": "exec yes", "reader": "echo Unknown; echo Unknown"},
                          PROVER_CRASHED, False),
        "reader_unstartable": ({"prover": "", "reader": UNSTARTABLE}, NOTHING_READ, False),
        "reader_unstartable_loud": ({"prover": "exec yes", "reader": UNSTARTABLE}, PROVER_CRASHED,
                                    False),
        "all_unstartable": (dict.fromkeys(("writer", "prover", "reader"), UNSTARTABLE),
                            HEAD + "Writer had an error.\n" + NOTHING_READ, False),
        "reader_crash": ({"reader": SAYS_UNKNOWN + CRASH}, READER_CRASHED, False),
        "reader_exit": ({"reader": SAYS_UNKNOWN + "exit 9"}, "", True),
        "reader_closes": ({"reader": "exec >&-; cat >/dev/null; sleep 0.1"}, NOTHING_READ, False),
        # Both write more than a pipe holds, the reader before it reads anything.
        "reader_loud": ({"prover": MEGABYTES,
                         "reader": f"yes '' | head -c 3000000; {SAYS_UNKNOWN}"}, "", True),
        "reader_long": ({"reader": f"cat >/dev/null; {MEGABYTES}"},
                        "Unexpected number of results. Expected: 2 Found: 272728\n", False),
        "last": ({"reader": "cat >/dev/null; echo Proved; echo Disproved"}, "", None),
    }

    def test_each_failure_is_told_and_the_replay_goes_on(self):
        drivers, passes, err, statuses = [], "", "", {}
        for name, (scripts, told, taken) in self.ROWS.items():
            for role, body in scripts.items():
                self.script(f"{name}_{role}", body)
            own = {role: f"{name}_{role}" for role in scripts}
            drivers.append(self.driver(name, group="full", stdin=not name.endswith("_file"), **own))
            err += told.format(name)
            marks = {False: [], True: [("T0", "--")], None: [("T0", "+!")]}[taken]
            passes += driver_pass(name, 2, marks)
            statuses[name] = "Unknown" if taken else "Proved"
        self.mechanism(*drivers, trust="always")
        for jobs in ("1", "4"):
            with self.subTest(jobs=jobs):
                self.pos(po("T0", candidate(*self.ROWS), candidate(*self.ROWS)))
                self.replay("-c", jobs, err=err, out=proving() + passes + report(
                    proved=1, externally=1, disproved=1))
                self.assertPos(po("T0", *[
                    goal(mech("m", last, **(statuses | {"last": last})), status=last)
                    for last in ("Proved", "Disproved")]))

    def test_a_failed_entry_costs_only_itself(self):
        self.script("sometimes", "read -r i j\n[ $i = 1 ] && kill -SEGV $$\necho $i $j")
        self.answers({"*": "Proved"})
        self.mechanism(self.driver(prover="sometimes"), trust="always")
        document = [po(f"T{i}", candidate(), candidate()) for i in range(3)]
        for jobs in ("1", "3"):
            with self.subTest(jobs=jobs):
                self.pos(*document)
                run = self.replay("-c", jobs, err=self.PROVER_CRASHED * 2)
                text = (proving() + driver_pass("d1", 6, [("T0", "++"), ("T1", ""), ("T2", "++")])
                        + report(proved=4, externally=4, unproved=2))
                self.assertEqual(sorted(text), sorted(run.out.decode()), str(run))

    def test_an_unwritable_pos_path_is_not_told(self):
        # The document is lost by its user in the middle of the run: nothing is created anew.
        self.script("unlink", f"rm '{self.root}/comp.pos'\n{PROVER}")
        self.answers({"*": "Proved"})
        self.mechanism(self.driver(prover="unlink"), trust="always")
        self.pos(po("T0", candidate()))
        self.expect("-m", "m.xml", *FILES, out=proving() + driver_pass("d1", 1, [("T0", "+")])
                    + "ErrorFile not readable comp.pos\n" + report())
        self.assertFalse(self.path("comp.pos").exists())


if __name__ == "__main__":
    unittest.main()
