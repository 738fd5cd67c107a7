"""The HTML report in headless Chromium: scripts use the page as a person would."""

import os
import subprocess
import tempfile
import xml.etree.ElementTree as ET

import pytest
from conftest import BIN, goal, mech, needs, obligations, po
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
                     verdict: $("#verdict").textContent, bars: $$(".judge").length };
      sort("status"); seen.best = names();
      sort("status"); seen.worst = names();
      seen.marked = $("th[data-sort=status]").getAttribute("aria-sort");
      sort("proof"); seen.proofs = names();
      sort("goal"); seen.sorted = names();
      type("Z3 smt"); seen.search = names();
      type("nothing has this"); seen.none = [$("#rows").textContent, count()];
      $("#reset").click(); seen.reset = count();
      $("[data-status='4']").click(); $("[data-status='0']").click(); seen.statuses = names();
      $("#reset").click(); $("#alone").click(); seen.alone = names();
      $("#reset").click();
      $("#driver").value = $$("#driver option").find((o) => o.textContent === "smt/cvc5").value;
      fire("#driver", "change"); seen.driver = names();
      $("#reset").click(); $$(".tile")[1].click();
      seen.tile = [names(), $("#obligation").textContent];
      $("#obligation").click(); seen.released = count();
      return seen;""") == {
        "title": "comp \u2013 proof status", "share": "50.0 %", "verdict": "1 disproved goal",
        "bars": 5,
        "all": [["init.1.1", "Proved", "own Proved(1)"], ["init.1.2", "Proved", "smt/z3alone"],
                ["open.2.1", "Proved", "smt/z3, smt/cvc5"],
                ["open.2.2", "Unreliably proved", "rules/fast (not counted: smt/z3)"],
                ["open.2.3", "Disproved", " (not counted: smt/cvc5)"],
                ["open.2.4", "Unproved", ""]],
        "best": in_file[:4] + ["open.2.4", "open.2.3"],
        "worst": ["open.2.3", "open.2.4", "open.2.2"] + in_file[:3], "marked": "descending",
        "proofs": ["init.1.1", "open.2.2", "init.1.2", "open.2.1", "open.2.3", "open.2.4"],
        "sorted": in_file, "search": ["init.1.2", "open.2.1", "open.2.2"],
        "none": ["No goal matches the filters.", "0 of 6 goals"], "reset": "6 goals",
        "statuses": ["open.2.3", "open.2.4"], "alone": ["init.1.2"], "driver": ["open.2.1"],
        "tile": [in_file[2:], "open.2 \u00d7"], "released": "6 goals"}


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
