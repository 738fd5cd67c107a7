"""Many jobs at once."""

import unittest

from harness import (PROVER, ReplayCase, WRITER, candidate, driver_pass, outline, parsed, po,
                     proving, report)


class ManyJobs(ReplayCase):
    def test_500_goals_and_many_jobs_lose_none(self):
        for jobs in ("16", "64"):
            with self.subTest(jobs=jobs):
                self.lose_none(jobs)

    def lose_none(self, jobs):
        # The tools of the other tests, without their records, answer in no time.
        self.script("writer", WRITER)
        self.script("prover", PROVER)
        self.script("reader", "while read -r l; do echo Proved; done")
        self.mechanism(trust="always")
        self.pos(*[po(f"T{i}", *[candidate() for _ in range(5)]) for i in range(100)])
        run = self.replay("-c", jobs)
        text = run.out.decode()
        self.assertEqual(500, text.count("+"))
        self.assertEqual(proving() + driver_pass("d1", 500, [(f"T{i}", "") for i in range(100)])
                         + report(proved=500, externally=500), text.replace("+", ""))
        document = parsed(self.path("comp.pos").read_bytes())
        self.assertEqual(["Proved"] * 1500, [e.get("status") for e in document.iter()
                                             if e.get("status")])

    def test_any_number_of_jobs_gives_the_same_file(self):
        names = ("d1", "d2", "d3")
        said = ("Proved", "Unknown", "Disproved", "nothing", "Proved")
        self.answers({f"{d}.{i}.{j}": said[(i * k + j) % 5]
                      for k, d in enumerate(names, 1) for i in range(8) for j in range(3)})
        self.mechanism(*[self.driver(d) for d in names], trust="redundancy")
        results = []
        for jobs in ("1", "4", "40"):
            self.pos(*[po(f"T{i}", *[candidate(*names) for _ in range(3)]) for i in range(8)])
            out = self.replay("-c", jobs).out
            results.append((outline(parsed(self.path("comp.pos").read_bytes())), sorted(out)))
        self.assertIn("UnreliablyProved", results[0][0])
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[0], results[2])

    def test_as_many_jobs_as_asked_run_at_once(self):
        # Each prover waits until three have started, then counts those that run.
        self.script("meet", r"""
d=${0%/*}; : >"$d/started.$$"; : >"$d/runs.$$"; n=0
while set -- "$d"/started.*; [ $# -lt 3 ] && [ $n -lt 200 ]; do sleep 0.05; n=$((n+1)); done
set -- "$d"/runs.*; echo $# $n >>"$d/count"; sleep 0.05; rm "$d/runs.$$"; exec cat
""")
        self.mechanism(self.driver(prover="meet"))
        self.pos(po("T", *[candidate() for _ in range(9)]))
        self.replay("--concurrency=3abc", out=proving() + driver_pass("d1", 9, [("T", "-" * 9)])
                    + report(unproved=9))
        counts = [list(map(int, line.split()))
                  for line in self.path("tools/count").read_text().splitlines()]
        self.assertEqual(9, len(counts))
        self.assertTrue(all(running <= 3 and tries < 200 for running, tries in counts), counts)


if __name__ == "__main__":
    unittest.main()
