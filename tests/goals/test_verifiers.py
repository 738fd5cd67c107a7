"""Scripts of two verifiers are imported, proved, changed, and proved again as far as they changed."""

import collections
import concurrent.futures
import json
import os
import re
import subprocess

import pytest
from conftest import BIN, PROJECT, element, needs, param, parsed

PROGRAM = "kelvarune-goals"
EXAMPLES = PROJECT / "examples/goals"
LONG_S = 600
WHY3 = ("fill", "ring")
STEPS = 1_000_000
# As Why3 calls it, so that a goal near the limit has one verdict. Seconds are not the same everywhere.
Z3 = ("-smt2", "sat.random_seed=42", "nlsat.randomize=false", "smt.random_seed=42",
      f"rlimit={STEPS}")
pytestmark = needs("why3", "dafny", "z3", "cvc5")

WHYML = """module Fill{n}
  use int.Int
  use array.Array
  let fill{n} (a: array int) : unit
    requires {{ {n} < length a }}
    ensures  {{ forall i. 0 <= i < length a -> a[i] = i + {n} }}
  = for k = 0 to length a - 1 do
      invariant {{ forall i. 0 <= i < k -> a[i] = i + {n} }}
      a[k] <- k + {n}
    done
  goal wrong{n}: forall x. {n} < x -> {n} + 1 < x
end
"""
DAFNY = """method Count{n}(a: int) returns (r: int)
  requires {n} < a
  ensures {n} < r && r <= a + {n}
{{
  r := a;
  while r < a + {n}
    invariant a <= r <= a + {n}
  {{
    r := r + 1;
  }}
  {claim}
}}
"""


def verifier(case, *command):
    # Dafny says by its status that something is not proved.
    return subprocess.run(command, cwd=case.root, check=False, stdout=subprocess.PIPE, timeout=LONG_S,
                          env=os.environ | {"HOME": str(case.root)}).stdout.decode()


@pytest.fixture
def vcs(case):
    """The verifiers' scripts, and a mechanism of two provers that count their calls."""
    case.write("fill.mlw", "".join(WHYML.format(n=n) for n in range(1, 24)))
    case.write("ring.mlw", (EXAMPLES / "why3/ring.mlw").read_bytes())
    claims = ["", "assert r == a;"]  # where one fails, the log has several checks
    case.write("count.dfy", "".join(DAFNY.format(n=n, claim=claims[n % 10 == 0])
                                    for n in range(1, 24)))
    for name in (*WHY3, "count"):
        case.path(f"vcs/{name}").mkdir(parents=True)
    for name in WHY3:
        verifier(case, "why3", "prove", "-a", "split_vc", "-D", "z3_471", "-o", f"vcs/{name}",
                 f"{name}.mlw")
    verifier(case, "dafny", "/compile:0", "/proverLog:vcs/count/@PROC@.smt2", "count.dfy")

    def driver(name, *prover, **writer):
        case.script(name, f'printf "%s\\n" "$*" >>"$0.log"\nexec {name} "$@"')
        return case.driver(
            name, ext="smt2",
            writer=element("writer", *[param(f"--{k}", v, "=") for k, v in writer.items()],
                           name="writer", path=str(BIN / "kelvarune-smt-writer")),
            prover=case.tool("prover", name, *[param(value=word) for word in (*prover, "${file}")],
                             input="file", timeout="60"),
            reader=element("reader", param("--file", "${file}", "="), name="reader",
                           path=str(BIN / "kelvarune-smt-reader")))

    case.mechanism(driver("z3", *Z3, "-T:${timeout}"),
                   driver("cvc5", "--lang=smt2", "--rlimit-per=30000",
                          "--tlimit-per=${timeout}000", options="none",
                          **{"default-logic": "ALL"}), trust="always")
    return case.path("vcs")


def play(case):
    """Plays what is to be played; how many times it called each prover on a goal."""
    logs = [case.path(f"tools/{name}.log") for name in ("z3", "cvc5")]
    for log in logs:
        log.write_text("")
    case.run("-m", "m.xml", "-s", "c.pos", "-p", "c.pog", "-d", "work", "-c", "auto",
             program="kelvarune-play", err=None, limit_s=LONG_S)
    return [sum(line != "--version" for line in log.read_text().splitlines()) for log in logs]


def verdicts(case):
    """What z3 said of each goal: file below vcs, without suffix, and number to "Proved" or not."""
    return {(obligation[0].text, number): goal.find("Mechanism/Driver[@name='z3']").get("status")
            for obligation in parsed(case.path("c.pos").read_bytes())
            for number, goal in enumerate(obligation.findall("Simple_Goal"), 1)}


def by_hand(vcs):
    """What z3 says of each check in the files, run on them as they are."""
    def ask(path):
        run = subprocess.run(["z3", *Z3, path], stdout=subprocess.PIPE, check=False)
        answers = re.findall(r"^(unsat|sat|unknown)$", run.stdout.decode(), re.MULTILINE)
        tag = str(path.relative_to(vcs).with_suffix(""))
        return {(tag, n): "Proved" if answer == "unsat" else "Unknown"
                for n, answer in enumerate(answers, 1)}

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return {k: v for part in pool.map(ask, sorted(vcs.rglob("*.smt2"))) for k, v in part.items()}


def why3_says(case):
    """The verdicts of Why3 by z3, in the order in which it numbers the files of its goals."""
    verifier(case, "why3", "config", "detect", "-C", "why3.conf")
    said, count = {}, collections.Counter()
    for name in WHY3:
        text = verifier(case, "why3", "prove", "-C", "why3.conf", "-P", "Z3,4.8.12,", "-s", str(STEPS),
                        "-t", "60", "-a", "split_vc", "--json", f"{name}.mlw")
        while text := text.lstrip():
            goal, end = json.JSONDecoder().raw_decode(text)
            text = text[end:]
            own = goal["term"]["goal_name"].replace("'", "qt")
            said[f"{own}{count[own] or ''}"] = goal["prover-result"]["answer"] == "Valid"
            count[own] += 1
    return said


def test_only_what_changed_is_proved_again(case, vcs):
    case.run("import", "-o", "c", "vcs", out=None)
    calls = play(case)
    first = verdicts(case)
    proved = {tag.split("-")[-1]: verdict == "Proved" for (tag, _), verdict in first.items()
              if tag.startswith(WHY3)}
    assert len(proved) > 150 and len(first) > 220 and calls[0] == len(first)
    assert 20 < calls[1] == list(first.values()).count("Unknown") < 50
    assert first == by_hand(vcs)
    assert proved == why3_says(case)
    assert play(case) == [0, 0]

    edits = {"fill/fill-Fill7-wrong7": ("(check-sat)", "(assert false)(check-sat)"),
             "fill/fill-Fill9-fill9qtvc1": ("(assert\n  (not", "(assert (or true"),
             "count/Impl___module.__default.Count3": ("(assert (not", "(assert (or true")}
    for tag, edit in edits.items():
        text = (vcs / f"{tag}.smt2").read_text()
        assert edit[0] in text
        (vcs / f"{tag}.smt2").write_text(text.replace(*edit))
    (vcs / "fill/fill-Fill5-wrong5.smt2").rename(vcs / "moved.smt2")
    (vcs / "fill/fill-Fill6-wrong6.smt2").unlink()
    (vcs / "added.smt2").write_text("(declare-const x Int)(assert (< x x))(check-sat)")
    with (vcs / "fill/fill-Fill8-wrong8.smt2").open("a") as file:
        file.write("; a remark\n")
    case.run("sync", "c.pog", out=None)
    assert play(case) == [4, 2]
    second = verdicts(case)
    assert second == by_hand(vcs)
    for tag, verdict in zip([*edits, "added", "moved"],
                            ["Proved", "Unknown", "Unknown", "Proved", "Unknown"], strict=True):
        assert second[tag, 1] == verdict, tag
    assert len(second) == len(first)
