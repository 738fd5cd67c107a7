"""The traces of level 1, whole."""

import re
import unittest

from harness import (FILES, ReplayCase, UNSTARTABLE, candidate, driver_pass, echo, goal, mech,
                     param, po, proving, report)


class Traces(ReplayCase):
    def lines(self, *lines):
        return "".join(f"-- ProofDirector -- {line}\n" for line in lines)

    def created(self, mechanism="m.xml", xml=0, jobs=1, loaded=1):
        return self.lines(f"Created a ProofDirector for comp from {mechanism}") + (
            f"xml: {xml} concurrency: {jobs} loaded: {loaded} trace: 1\n")

    DESTROYED = "-- ProofDirector -- Destroyed ProofDirector for component comp\n"
    LOADED = ("Start loading POS file.", "Loading POS file completed.")
    WORK = ("Driver has proof obligations to process.", "Driver producing writer data",
            "Driver producing prover data")

    def job(self, i, j, verdict, driver="d1", saved=True):
        """The traces of writing and of proving one goal, with tools of several arguments."""
        tools = f"{self.root}/tools"
        po2 = f"work/comp_m_{driver}_{i}_{j}.po2"
        write = self.lines(
            f"Issuing writing command {tools}/writer -a {i} {j} -i comp.pog -o {po2} -w x",
            f"to generate {po2}")
        prove = self.lines(f"Issuing proving command {tools}/prover {po2}") + (
            f" and reading command {tools}/reader {driver}\n") + self.lines(
                f"processing command output {verdict}")
        if saved:
            prove += self.lines(
                f"updating proof status of proof obligation {i},{j} to {verdict} for driver "
                f"{driver}", "Saving new DOM in POS file comp.pos")
        return write, prove

    def setUp(self):
        super().setUp()
        self.answers({"d1.0.0": "Proved", "d1.0.1": b" odd \n"})
        self.mechanism(*[self.driver(d, stdin=False, writer=self.tool(
            "writer", None, param("-w", "x"))) for d in ("d1", "d2")], trust="always")
        self.args = ("-m", "m.xml", *FILES, "-t", "1")

    def test_one_job_at_a_time(self):
        self.pos(po("T0", candidate(), candidate()))
        first, second = self.job(0, 0, "Proved"), self.job(0, 1, "odd", saved=False)
        err = (echo(*self.args) + self.created()
               + self.lines(*self.LOADED, *["Playing 0-th driver (d1)"] * 2, *self.WORK)
               + "".join(first + second)
               + self.lines(*["Playing 1-th driver (d2)"] * 2, *self.WORK) + self.DESTROYED)
        self.expect(*self.args, err=err, out=proving() + driver_pass("d1", 2, [("T0", "+-")])
                    + driver_pass("d2", 1, []) + report(proved=1, externally=1, unproved=1))

    def test_a_driver_that_cannot_improve_anything(self):
        self.pos(po("T0", goal(mech("m", d1="Unknown"))))
        playing = [line for i, d in enumerate(("d1", "d2")) for line in
                   (*[f"Playing {i}-th driver ({d})"] * 2, "Driver cannot improve proof status.")]
        self.expect(*self.args, "-x", err=echo(*self.args, "-x") + self.created(xml=1)
                    + self.lines(*self.LOADED, *playing) + self.DESTROYED,
                    out="<proof>\n" + proving(xml=True) + driver_pass("d1", 1, xml=True)
                    + driver_pass("d2", 1, xml=True) + report(unproved=1, xml=True))

    def test_what_cannot_be_loaded(self):
        self.expect(*self.args, err=echo(*self.args) + self.created() + self.lines(
            "Start loading POS file.", "Loading POS file failed.") + self.DESTROYED,
                    out=proving() + "Error comp .pos\nErrorFile not readable comp.pos\n" + report())
        args = ("-m", "no.xml", *FILES, "-t", "1")
        self.expect(*args, status=1, out="", err=echo(*args) + "Cannot open 'no.xml'.\n"
                    + self.created("no.xml", loaded=0))

    def test_worker_threads(self):
        self.pos(po("T0", candidate()))
        args = (*self.args, "-c", "3")
        run = self.run_program(*args)
        err = run.err.decode()
        self.assertEqual(0, run.status, str(run))
        thread = re.search(r"^-- Proof Director -- Thread (\d+) writes entry 0\.$", err, re.M)
        self.assertTrue(thread, str(run))
        write, prove = self.job(0, 0, "Proved")
        po2 = "work/comp_m_d1_0_0.po2"
        head = f"-- Proof Director -- Thread {thread[1]} "
        self.assertEqual(
            echo(*args) + self.created(jobs=3)
            + self.lines(*self.LOADED, *["Playing 0-th driver (d1)"] * 2, *self.WORK)
            + head + "writes entry 0.\n" + write
            + head + f"proves entry ({self.root}/tools/prover, {po2}).\n" + prove
            + self.lines(*["Playing 1-th driver (d2)"] * 2, "Driver cannot improve proof status.")
            + self.DESTROYED, err)

    def test_failures_keep_their_lines(self):
        self.script("broken", UNSTARTABLE)
        self.mechanism(self.driver(writer="broken", prover="broken", reader="broken"))
        self.pos(po("T0", candidate()))
        po2, tools = "work/comp_m_d1_0_0.po2", f"{self.root}/tools"
        # One address and no output: one line, which is no verdict. Arguments may be none at all.
        self.expect(*self.args, out=proving() + driver_pass("d1", 1, [("T0", "-")])
                    + report(unproved=1), err=(
            echo(*self.args) + self.created()
            + self.lines(*self.LOADED, *["Playing 0-th driver (d1)"] * 2, *self.WORK,
                         f"Issuing writing command {tools}/broken -a 0 0 -i comp.pog -o {po2}",
                         f"to generate {po2}", "Writer had an error.",
                         f"Issuing proving command {tools}/broken ")
            + f" and reading command {tools}/broken d1\n"
            + self.lines("processing command output ") + self.DESTROYED))


if __name__ == "__main__":
    unittest.main()
