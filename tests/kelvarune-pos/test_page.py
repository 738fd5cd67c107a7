"""The HTML report in headless Chromium: scripts use the page as a person would."""

import os
import subprocess
import tempfile
import xml.etree.ElementTree as ET

import pytest
from conftest import BIN, SLOWNESS, goal, mech, needs, obligations, po, rows
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait
from test_commands import component, large
from test_times import Past

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


TIMED = """
const cells = (part) => $$(part + " tr").map((row) => [...row.cells].map((cell) => cell.textContent));
const open = (part) => new Promise((done) => { const details = $(part + " details");
  details.addEventListener("toggle", () => setTimeout(() => done(cells(part + " details")), 0));
  details.open = true; });
const done = arguments[0];
"""


@pytest.fixture
def timed(use, browser, tmp_path):
    """As use, of a component with a history; the script gives its result to `done`."""
    def timed(tree, script, runs):
        past = Past(tmp_path)
        for number, entries in runs:
            past.run(number, *entries)
        use(tree, "return 0;")
        seen = browser.execute_async_script(HELPERS + TIMED + f"(async () => {{ {script} }})();")
        assert browser.get_log("browser") == []
        return seen
    return timed


RUNS = [(1, [(1, [(0, "Proved"), (1, "Proved")], 0.59), (1, [(2, "Unknown")], 1.99),
             (2, [(2, "Proved")], 0.09), (2, [(0, "Unknown")], 0.19)]),
        (2, [(1, [(2, "Unknown")], 0.99)])]


def test_times(timed):
    tree = obligations(po("T0", goal(), goal(), goal(), goal()))
    assert timed(tree, """
      const seen = { times: cells("#times") };
      seen.columns = $$("#table th").map((head) => head.textContent);
      sort("time"); sort("time");
      seen.slowest = [location.hash, rows().map((row) => [row[0], row[3]])];
      seen.cactus = await open("#cactus-card"); seen.scatter = await open("#scatter-card");
      seen.lines = $$("#cactus .line").length;
      $("#scatter-y").value = $("#scatter-x").value; fire("#scatter-y", "change");
      seen.same = await open("#scatter-card");
      seen.trend = (await open("#trend-card")).map((row) => row.slice(2, 6));
      seen.bars = cells("#slowest");
      $("#slowest button").click(); seen.found = names();
      seen.focus = $$(".wide, summary, #times select, .choice select").every((part) => part.tabIndex === 0);
      seen.fetched = performance.getEntriesByType("resource").length;
      done(seen);""", RUNS) == {
        "times": [["Driver", "Goals", "Proved", "Seconds", "Processor", "Median", "90 %", "Slowest", "No proof"],
                  ["a/one", "3", "2", "1.600", "0.790", "0.300", "1.000", "1.000", "1.000"],
                  ["a/two", "2", "1", "0.300", "0.140", "0.100", "0.200", "0.200", "0.200"],
                  ["Total", "5", "3", "1.900", "0.930", "0.300", "1.000", "1.000", "1.200"]],
        "columns": ["Goal", "Status", "Verdict by", "Time"],
        "slowest": ["#sort=-time", [["T0.3", "1.100 s"], ["T0.1", "0.500 s"], ["T0.2", "0.300 s"], ["T0.4", ""]]],
        "cactus": [["Goals proved", "a/one", "a/two", "Best of all"], ["1", "0.300", "0.100", "0.100"],
                   ["2", "0.300", "", "0.300"], ["3", "", "", "0.300"]], "lines": 3,
        "scatter": [["Goal", "a/one", "", "a/two", ""], ["T0.1", "0.300", "Proved", "0.200", "Unknown"],
                    ["T0.3", "1.000", "Unknown", "0.100", "Proved"]],
        "same": [["Goal", "a/one", "", "a/one", ""], ["T0.1", "0.300", "Proved", "0.300", "Proved"],
                 ["T0.2", "0.300", "Proved", "0.300", "Proved"],
                 ["T0.3", "1.000", "Unknown", "1.000", "Unknown"]],
        "trend": [["Plays", "Proved", "Seconds", "Processor"], ["5", "3", "2.900", "1.430"],
                  ["1", "0", "1.000", "0.495"]],
        "bars": [["Goal", "Seconds", "By driver"],
                 ["T0.3", "1.100", "a/two 0.100 Proved, a/one 1.000 Unknown"],
                 ["T0.1", "0.500", "a/one 0.300 Proved, a/two 0.200 Unknown"],
                 ["T0.2", "0.300", "a/one 0.300 Proved"]],
        "found": ["T0.3"], "focus": True, "fetched": 0}


def test_ten_thousand_goals_and_twenty_runs_open_at_once(timed):
    entries = [(driver, [(name, "Proved" if (name + driver) % 3 else "Unknown")],
                0.01 * (1 + name * driver % 97)) for name in range(10000) for driver in (1, 2)]
    seen = timed(obligations(*[po(f"T{i}", *[goal()] * 5) for i in range(2000)]), """
      const [page] = performance.getEntriesByType("navigation");
      done([page.loadEventEnd - page.startTime, $$("#cactus .line").length, $$("#trend rect").length,
            cells("#times").pop()[1]]);""", [(number, entries) for number in range(1, 21)])
    assert seen[1:] == [3, 40, "20,000"] and seen[0] < 2000 * SLOWNESS, seen


@pytest.fixture
def site(browser, tmp_path):
    """Shows the index of a project in "now" and what changed, and returns what a script returns."""
    def site(name, now, before, script):
        for directory, trees in (("now", now), ("before", before)):
            (tmp_path / directory).mkdir(exist_ok=True)
            for comp, tree in trees.items():
                data = tree if isinstance(tree, bytes) else ET.tostring(tree)
                (tmp_path / directory / f"{comp}.pos").write_bytes(data)
        toml = tmp_path / "now/kelvarune.toml"
        toml.write_text(f"name = '{name}'\ncomponents = ['*.pos']\nreports = '../site'\n")
        report = [BIN / "kelvarune-pos", "report", "--html", "--against", "../before"]
        subprocess.run(report, cwd=tmp_path / "now", check=False)
        browser.get(f"file://{tmp_path}/site/index.html")
        seen = browser.execute_script(HELPERS + script)
        assert browser.get_log("browser") == []
        return seen
    return site


def test_an_index_leads_to_pages(site, browser, tmp_path):
    tag = "</script><img src=http://127.0.0.1:9/x onerror=alert(1)>@DATA@ 100%#?&amp;"
    name = tag.replace("/", "|")
    proved, done = goal(status="Proved"), obligations(po("d", *[goal(status="Proved")] * 2))
    now = {"comp": component(), name: obligations(po(tag, goal(), goal())), "done": done, "bad": b"<r>"}
    before = {"comp": component(), name: obligations(po(tag, proved, goal())), "gone": done, "done": done}
    (tmp_path / "now").mkdir()
    Past(tmp_path / "now").run(1, (1, [(1, "Proved")], 1.49))
    assert site(name, now, before, """
      const cells = () => rows().map(([name, , proved, open, ...more]) => [name, proved, open, ...more].join("; "));
      const heads = () => names().map((name) => name.slice(0, 4));
      const seen = { title: document.title, verdict: $("#verdict").textContent, all: cells(),
                     share: $("#share").textContent, faults: $("#fault-list").textContent,
                     changes: $$("#change-figures dd").map((n) => n.textContent),
                     lost: $("#change-lists details li").textContent };
      seen.heads = $$("#table th").map((head) => head.textContent);
      sort("seconds"); sort("seconds"); seen.slowest = heads()[0];
      sort("name"); sort("name"); seen.down = heads();
      type("comp.pos"); seen.search = [heads(), count()]; type("");
      $("#open").click(); seen.open = heads();
      seen.focus = $$("a, button, input, summary").every((part) => part.tabIndex === 0);
      seen.fetched = performance.getEntriesByType("resource").length + document.images.length;
      return seen;""") == {
        "title": f"{name} \u2013 proof status",
        "verdict": "1 proof lost, 1 component unreadable, 1 disproved goal", "share": "50.0 %",
        "all": ["badbad.pos; ; ", f"{name}{name}.pos; 0 of 2 \u00b7 0.0 %; 2; 0; ; 1 lost",
                "compcomp.pos; 3 of 6 \u00b7 50.0 %; 3; 1; 1.5; ", "gonegone.pos; 2 gone; ",
                "donedone.pos; 2 of 2 \u00b7 100.0 %; 0; 0; ; "],
        "heads": ["Component", "Goals", "Proved", "Open", "Disproved", "Seconds", "Changes"],
        "faults": "bad bad.pos:1:4: not well-formed: unexpected end of file; correct it or restore a saved copy",
        "changes": ["1", "0", "0", "2", "0"], "lost": f"{name}: {tag}.1Proved \u2192 Unproved",
        "slowest": "comp", "down": ["gone", "done", "comp", "badb", "<|sc"],
        "search": [["comp"], "1 of 5 components"], "open": ["gone", "comp", "badb", "<|sc"],
        "focus": True, "fetched": 0}
    # A goal that was lost leads to itself, and from there back; nothing is wider than a phone.
    phone = {"width": 360, "height": 700, "deviceScaleFactor": 1, "mobile": True}
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", phone)
    for link, address in (("#change-lists li a", "/components/"), ("#home", "/index.html")):
        assert browser.execute_script("return document.documentElement.scrollWidth") == 360
        browser.find_element("css selector", link).send_keys(Keys.ENTER)
        WebDriverWait(browser, 20 * SLOWNESS).until(lambda browser: address in browser.current_url)
        if link != "#home":
            assert browser.execute_script(HELPERS + "return names();") == [f"{tag}.1"]
    assert browser.title.startswith(name)
    browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
