"""The command line: options, refusals, the command echo, and which mechanisms are replayed."""

import pytest

from conftest import (ABORTED, FILES, ONE_PROOF, REPLAY, candidate, driver_pass, goal, mech, po,
                      proving, report, rows)

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


@pytest.fixture
def one_goal(case):
    """A component with one goal that the mechanism proves."""
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(po("T0", candidate()))
    return case


@rows("args, err", {
    "empty POS": ("ALL --pos=", ""),
    "neither -m nor -M": ("-s comp.pos -p comp.pog -d work", ""),
    "both -m and -M": ("ALL -M .", ""),
    "long option without value": ("ALL --pos", "PROGRAM: option '--pos' requires an argument\n"),
    "the echo comes before the check": ("-t 2", '[kelvarune]\ncommand = "PROGRAM -t 2 "\n'),
    "but not before help": ("-t 2 --help", ""),
})
def test_help_is_printed_and_nothing_else_done(one_goal, args, err):
    before = one_goal.path("comp.pos").read_bytes()
    one_goal.run(*args.replace("ALL", " ".join(REPLAY)).split(), status=1, out=HELP,
                 err=err.replace("PROGRAM", one_goal.program))
    assert one_goal.path("comp.pos").read_bytes() == before


@pytest.mark.parametrize("option", ["installdir", "mechanism-directory", "trace"])
def test_a_long_option_that_lacks_its_value_aborts_before_any_output(one_goal, option):
    one_goal.run(*REPLAY, "-x", "-t", "2", f"--{option}", status=ABORTED, out="")


@rows("args", {
    "values glued to short options": "-mm.xml -scomp.pos -pcomp.pog -dwork",
    "long": "--mechanism=m.xml --pos comp.pos --pog=comp.pog --directory work --concurrency=1"
            " --trace=0 --installdir=tools",
    "the last one wins": "-m no.xml -s no.pos -p no.pog -d nowhere -c 0 ALL -c 1",
})
def test_accepted_forms(one_goal, args):
    one_goal.run(*args.replace("ALL", " ".join(REPLAY)).split(), out=ONE_PROOF)
    assert [call[4] for call in one_goal.calls("writer")] == ["comp.pog"]


# --- Which mechanisms are replayed ----------------------------------------------------------------


@pytest.fixture
def two_mechanisms(case):
    case.answers({"a.*": "Proved", "b.*": "Disproved"})
    for name in ("Alto", "Basso"):
        case.mechanism(case.driver(name[0].lower()), path=f"mechs/{name}.xml", trust="always")
    return case


def test_the_registered_mechanisms_in_order_of_first_appearance(two_mechanisms):
    case = two_mechanisms
    case.pos(po("T0", goal(mech("Basso", b="Proved"), mech("Alto", a="Proved"))),
             po("T1", goal(mech("Alto", a="Disproved"), mech("Basso", b="Proved"))))
    case.run("-M", "mechs", *FILES, out=(
        proving("Basso") + driver_pass("b", 2, [("T0", "!"), ("T1", "!")])
        + proving("Alto") + driver_pass("a", 0) + report(disproved=2)))
    disproved = mech("Basso", "Disproved", b="Disproved")
    case.pos_is(po("T0", goal(disproved, mech("Alto", a="Proved"), status="Disproved")),
                po("T1", goal(mech("Alto", a="Disproved"), disproved, status="Disproved")))


def test_a_missing_description_ends_the_run_after_the_earlier_ones(two_mechanisms):
    case = two_mechanisms
    case.pos(po("T0", goal(mech("Alto", a="Proved"), mech("Ghost"), mech("Basso", b="Proved"))))
    case.run("-M", "mechs", *FILES, status=1, err="Cannot open 'mechs/Ghost.xml'.\n",
             out=proving("Alto") + driver_pass("a", 1, [("T0", "+")]))


def test_a_mechanism_that_some_goal_does_not_know_is_not_played(two_mechanisms):
    case = two_mechanisms
    document = [po("T0", goal(mech("Alto", a="Proved"))), po("T1", goal())]
    case.pos(*document)
    case.run("-M", "mechs", *FILES, "-x", out=(
        "<proof>\n" + proving("Alto", xml=True) + "<error>Error comp .pos</error>\n"
        + report(unproved=2, xml=True)))
    case.pos_is(*document, author=None)
