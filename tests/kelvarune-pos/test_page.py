"""The HTML report in headless Chromium: scripts use the page as a person would."""

import os
import subprocess
import tempfile
import xml.etree.ElementTree as ET

import pytest
from conftest import BIN, goal, mech, needs, obligations, po, rows
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from test_commands import component, large

pytestmark = needs("chromium", "chromedriver")

# Those after the third keep it from looking for its maker's servers.
FLAGS = ("--headless --no-sandbox --disable-dev-shm-usage --disable-gpu --disable-quic "
         "--no-first-run --disable-background-networking --disable-component-update "
         "--disable-sync").split()

HELPERS = """
const $ = (selector) => document.querySelector(selector);
const $$ = (selector) => [...document.querySelectorAll(selector)];
const rows = () => $$("#rows tr:not(.space)").map((r) => [...r.cells].map((c) => c.textContent));
const names = () => rows().map((row) => row[0]);
const count = () => $("#count").textContent;
const fire = (part, event) => $(part).dispatchEvent(new Event(event));
const type = (text) => { $("#search").value = text; fire("#search", "input"); };
const sort = (by) => $(`th[data-sort=${by}] button`).click();
// The event comes with the next frame, for which a page that nobody sees may wait long.
const scroll = (to) => { $("#scroller").scrollTop = to; fire("#scroller", "scroll"); };
"""


@pytest.fixture(scope="module")
def browser():
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as home:
        options = webdriver.ChromeOptions()
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        for flag in [*FLAGS, f"--user-data-dir={home}"]:
            options.add_argument(flag)
        service = Service("/usr/bin/chromedriver", env=os.environ | {"HOME": home})
        with webdriver.Chrome(options=options, service=service) as browser:
            browser.set_script_timeout(120)
            yield browser


@pytest.fixture
def use(browser, tmp_path):
    """Shows the report of a component, and returns what a script returns that uses it."""
    def use(tree, script):
        (tmp_path / "comp.pos").write_bytes(ET.tostring(tree))
        command = [BIN / "kelvarune-pos", "report", "--html", "-o", "page.html", "comp.pos"]
        subprocess.run(command, cwd=tmp_path, check=True)
        browser.get(f"file://{tmp_path}/page.html")
        seen = browser.execute_script(HELPERS + script)
        assert browser.get_log("browser") == []
        return seen
    return use


def test_sort_filter_and_numbers(use):
    in_file = ["init.1.1", "init.1.2", "open.2.1", "open.2.2", "open.2.3", "open.2.4"]
    assert use(component(), """
      const seen = { title: document.title, share: $("#share").textContent, all: rows(),
                     verdict: $("#verdict").textContent };
      seen.marked = $("th[data-sort=status]").getAttribute("aria-sort");
      seen.tiles = $$(".tile .tag").map((tag) => tag.textContent);
      sort("status"); seen.file = names();
      sort("status"); seen.best = names();
      sort("proof"); seen.proofs = names();
      sort("goal"); seen.sorted = names();
      type("Z3 smt"); seen.search = names();
      type("nothing has this"); seen.none = [$("#rows").textContent, count()];
      $("#reset").click(); seen.reset = count();
      $("[data-status='4']").click(); $("[data-status='0']").click(); seen.statuses = names();
      $("#reset").click(); $("#alone").click(); seen.alone = names();
      $("#reset").click(); $$(".tile")[0].click();
      seen.tile = [names(), $("#obligation").textContent];
      $("#obligation").click(); seen.released = count();
      return seen;""") == {
        "title": "comp \u2013 proof status", "share": "50.0 %", "verdict": "1 disproved goal",
        "all": [["open.2.3", "Disproved", "disproved by smt/z3 (not counted: smt/cvc5)"],
                ["open.2.4", "Unproved", ""],
                ["open.2.2", "Unreliably proved", "rules/fast (not counted: smt/z3)"],
                ["init.1.1", "Proved", "own Proved(1)"], ["init.1.2", "Proved", "smt/z3alone"],
                ["open.2.1", "Proved", "smt/z3, smt/cvc5"]],
        "marked": "descending", "tiles": ["open.2", "init.1"], "file": in_file,
        "best": in_file[:4] + ["open.2.4", "open.2.3"],
        "proofs": ["open.2.3", "init.1.1", "open.2.2", "init.1.2", "open.2.1", "open.2.4"],
        "sorted": in_file, "search": ["init.1.2", "open.2.1", "open.2.2", "open.2.3"],
        "none": ["No goal matches the filters.", "0 of 6 goals"], "reset": "6 goals",
        "statuses": ["open.2.3", "open.2.4"], "alone": ["init.1.2"],
        "tile": [in_file[2:], "open.2 \u00d7"], "released": "6 goals"}


def test_the_panel_counts_what_the_filter_shows(use):
    """Each number leads to as many goals. What was reset or outvoted does not count."""
    tree = component()
    tree.append(po("reset", goal(mech("smt", z3="Proved")), goal(mech("smt", z3="Disproved"))))
    assert use(tree, """
      const counts = $$(".judge button").map((button) => {
        button.click();
        return [button.textContent, `${names().length}`, $("#driver").selectedOptions[0].text];
      });
      return { counts, panel: $$(".judge").map((row) => row.textContent),
               bars: $$(".driver .bar").map((bar) => bar.title) };""") == {
        "counts": [[n, n, f"{option} ({n})"] for n, option in [
            ("1", "Proved by rules/fast"), ("1", "Proved by smt/cvc5"), ("2", "Proved by smt/z3"),
            ("1", "Proved only by smt/z3"), ("1", "Disproved by smt/z3")]],
        "panel": ["rules0 of 2 \u00b7 0.0 %", "fast1 of 2 \u00b7 50.0 %0 alone",
                  "smt2 of 6 \u00b7 33.3 %", "cvc51 of 4 \u00b7 25.0 %0 alone",
                  "z32 of 6 \u00b7 33.3 %1 alone1 disproved"],
        "bars": ["Proved 1, Unknown 1", "Proved 1, Not counted 1, Unknown 2",
                 "Proved 2, Not counted 3, Disproved 1"]}


@rows("proved, total, share", {"1 of 60": (1, 60, "1.7 %"), "all but one": (2999, 3000, "99.9 %"),
                               "one": (1, 3000, "0.1 %"), "all": (2, 2, "100.0 %")})
def test_shares_are_rounded_but_never_to_all_or_none(use, proved, total, share):
    own = goal(state="Proved(1)", status="Proved")
    tree = obligations(po("o", *[own] * proved, *[goal()] * (total - proved)))
    assert use(tree, "return $('#share').textContent;") == share


# What a link may name, and the goals that it shows.
@rows("address, shown", {
    "words, one driver alone": ("q=smt+1&single=1", ["init.1.2"]),
    "statuses": ("status=unproved%2Cdisproved", ["open.2.3", "open.2.4"]),
    "proved by": ("by=proved%3Asmt%2Fcvc5", ["open.2.1"]),
    "disproved by": ("by=disproved%3Asmt%2Fz3", ["open.2.3"]),
    "obligation, sort": ("obligation=init.1&sort=-goal&order=name", ["init.1.2", "init.1.1"]),
    "second of one tag": ("obligation=open.2&nth=1&sort=file", ["open.2.1"]),
    "what is gone": ("by=proved:gone/z3&status=gone&nth=3&q=2.4", ["open.2.4"])})
def test_a_view_can_be_linked(use, browser, address, shown):
    tree = component()
    tree.append(po("open.2", goal(status="Unknown")))
    use(tree, "return 0;")
    browser.get(f"{browser.current_url}#{address}")
    browser.refresh()
    written = "#" + (address if "gone" not in address else "q=2.4")  # what the page understood
    assert browser.execute_script(HELPERS + "return [names(), location.hash];") == [shown, written]


def test_an_empty_file_says_so(use):
    assert use(obligations(po("o")), """
      return $$("main section").filter((s) => s.offsetHeight).map((s) => s.textContent);""") == [
        "comp.pos is empty: it has no goals, so there is nothing to prove."]


def test_goals_are_named_by_their_place(use):
    tree = obligations(po("a", goal(source="src/a.smt2:12"), goal()))
    assert use(tree, "const all = names(); type('A.SMT2:12'); return [all, names()];") == [
        ["a.1src/a.smt2:12", "a.2"], ["a.1src/a.smt2:12"]]


def test_names_are_text_and_nothing_is_fetched(use):
    nasty = "</script><img src=http://127.0.0.1:9/x onerror=alert(1)>@STYLE@&amp;"
    tree = obligations(po(nasty, goal(mech(nasty, "Proved", d="Proved"), status="Proved")))
    assert use(tree, """
      const links = $$("[src], [href]").map((e) => e.getAttribute("src") || e.getAttribute("href"));
      return [names()[0], $(".tile .tag").textContent, document.images.length,
              performance.getEntriesByType("resource").length,
              links.filter((link) => !/^(#|data:)/.test(link))];""") == [
        nasty + ".1", nasty, 0, 0, []]


def test_ten_thousand_goals_scroll_and_sort(use):
    assert use(large(10000), """
      const filled = $("#rows tr.space").getBoundingClientRect().top;
      const seen = { few: $$("#rows tr").length < 200,
                     full: filled >= $("#scroller").getBoundingClientRect().bottom };
      for (const by of ["status", "goal", "proof"]) { sort(by); sort(by); }
      type("op3"); type("");
      sort("goal");
      scroll(1e9);
      seen.last = names().pop();
      scroll($("#scroller").scrollHeight / 2);
      $("#scroller").scrollIntoView({ behavior: "instant" });
      const box = $("#scroller").getBoundingClientRect();
      const middle = document.elementFromPoint(box.left + 20, box.top + box.height / 2);
      seen.middle = middle.closest("tr").cells[0].textContent.split(".")[0];
      dispatchEvent(new Event("beforeprint"));
      seen.printed = $$("#rows tr").length;
      return seen;""") == {"few": True, "full": True, "last": "op8.998.10", "middle": "op4",
                           "printed": 10000}
