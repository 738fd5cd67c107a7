"""Mechanism descriptions and resource files, as far as a run shows them: which tools are found and
with which arguments each is called."""

import pytest

from conftest import (ABORTED, ONE_PROOF, RECORD, REPLAY, WRITER, candidate, element, param, po,
                      rows)

FILE = "work/comp_m_d1_0_0.po2"
WORDS = "a b 'c' \"d\" $HOME *"

# A parameter's name, value and separator; what the writer gets, and what the prover and the reader.
PARAMETERS = [
    ((None, None, None), [""], []),
    ((None, "v", None), ["v"], ["v"]),
    ((None, "", None), [""], [""]),
    (("n", None, None), ["n"], ["n"]),
    (("n", "", None), ["n"], ["n", ""]),
    (("n", "", "="), ["n"], ["n="]),
    (("", "v", None), ["v"], ["", "v"]),
    (("n", "v", None), ["n", "v"], ["n", "v"]),
    (("n", "v", " "), ["n", "v"], ["n", "v"]),
    (("n", "v", ""), ["nv"], ["n", "v"]),
    (("n", "v", " : "), ["n : v"], ["n : v"]),
    (("n", WORDS, None), ["n", WORDS], ["n", WORDS]),
    (("\u00e9", "\u2200", "="), ["\u00e9=\u2200"], ["\u00e9=\u2200"]),
    (("${file}", "<${file}>", "="), ["${file}=<${file}>"], [f"{FILE}=<{FILE}>"]),
]


@pytest.fixture
def one_goal(case):
    case.answers({"*": "Proved"})
    case.pos(po("T0", candidate()))
    return case


def test_parameters_of_writer_and_of_prover_and_reader(one_goal):
    case = one_goal
    params = [param(name, value, separator) for (name, value, separator), _, _ in PARAMETERS]
    params.append(param("${timeout}", "x${timeout}${timeout}"))
    case.script("say", RECORD + "cat >/dev/null; echo Proved")
    case.script("prover", RECORD + "exec cat")
    case.mechanism(case.driver(writer=case.tool("writer", None, *params),
                               prover=case.tool("prover", None, *params, timeout="30"),
                               reader=case.tool("reader", "say", *params)), trust="always")
    case.replay(out=ONE_PROOF)
    for_writer, for_others = [sum(words, []) for words in list(zip(*PARAMETERS))[1:]]
    plain = ["${timeout}", "x${timeout}${timeout}"]
    head = ["-a", "0", "0", "-i", "comp.pog", "-o", FILE]
    assert case.calls("writer") == [head + for_writer + plain]
    assert case.calls("prover") == [for_others + ["${timeout}", "x3030"]]
    assert case.calls("say") == [for_others + plain]


@rows("trust, path, word", {"a setting that is not there": ("", "writer", b"map::at"),
                            "a directory that is not there": ("never", "seeker", b"missing")})
def test_what_ends_the_run_abnormally(one_goal, trust, path, word):
    one_goal.mechanism(one_goal.driver(writer=element("writer", path=path)), trust=trust)
    run = one_goal.run(*REPLAY, "-i", "tools", "-i", "missing", status=ABORTED, out="", err=None)
    assert word in run.err


KEY = "MVL*Proof*Alto_Path:"


# The file that is run (none: the run ends), the description's path, the options, a resource file.
@rows("found, path, options, resources", {
    "order of the options": ("two", "seeker", "-i two --installdir=one", None),
    "nowhere": (None, "ROOT/seeker", "-i one", None),
    "a relative resource": ("two", "ROOT/one/seeker", "-r res -i two", f"{KEY} seeker\n"),
    "Latin-1": ("\u00e9", "ROOT/one/seeker", "-r res", f"{KEY} ROOT/\u00e9/seeker\n"),
})
def test_where_tools_are_looked_for(one_goal, found, path, options, resources):
    case = one_goal
    for folder in ("one", "two", "\u00e9"):
        case.path(folder).mkdir()
        case.script("seeker", RECORD + WRITER).rename(case.path(folder) / "seeker")
    absolute = str(case.root)
    case.write("res", (resources or "").replace("ROOT", absolute).encode("latin-1"))
    writer = element("writer", name="w", path=path and path.replace("ROOT", absolute),
                     resource="Any*Thing*Alto_Path")
    case.mechanism(case.driver(writer=writer), trust="always")
    if found is None:
        case.run(*REPLAY, *options.split(), status=1, out="", err="Cannot locate tool w\n")
    else:
        case.replay(*options.split(), out=ONE_PROOF)
        assert list(case.root.rglob("seeker.log")) == [case.path(f"{found}/seeker.log")]


def test_messages_about_resources_never_stop_the_run(one_goal):
    one_goal.mechanism(trust="always")
    one_goal.write("bad", "MVL*prover\n")
    one_goal.replay("-r", "missing", "-r", "bad", env={"HOME": None}, out=ONE_PROOF, err=(
        "Unable to open resource file missing because: No such file or directory\n"
        "bad:1: Resource syntax error: tool name not found\n"))
