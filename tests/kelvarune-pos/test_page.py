"""The HTML report in headless Chromium: a script that is added to a copy of the page uses it as a
person would, and writes down what it sees.

Skipped where there is no Chromium, unless the environment variable CI is set.
"""

import html
import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

from support import LIMIT_S, PosCase, component, goal, large, mech, obligations, po

CHROMIUM = shutil.which("chromium")
# The flags after the second keep it from looking for its maker's servers.
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--hide-scrollbars", "--enable-logging=stderr", "--disable-dev-shm-usage"]

LISTEN = """<script>
window.seenErrors = [];
addEventListener("error", (event) => seenErrors.push(event.message));
addEventListener("securitypolicyviolation", (event) => seenErrors.push(event.blockedURI));
</script>"""

# `body` may use these and returns what is to be looked at.
DRIVE = """<script>
const $ = (selector) => document.querySelector(selector);
const $$ = (selector) => [...document.querySelectorAll(selector)];
const rows = () => $$("#rows tr:not(.space)").map((row) => [...row.cells].map((c) => c.textContent));
const names = () => rows().map((row) => row[0]);
const count = () => $("#count").textContent;
const type = (text) => { $("#search").value = text; $("#search").dispatchEvent(new Event("input")); };
const sort = (by) => $(`th[data-sort=${by}] button`).click();
// The event comes with the next frame, for which a page that nobody sees may wait long.
const scroll = (to) => {
  $("#scroller").scrollTop = to;
  $("#scroller").dispatchEvent(new Event("scroll"));
};
(() => {
  let seen;
  try { seen = (() => { BODY })(); } catch (error) { seenErrors.push(String(error)); }
  const out = document.createElement("pre");
  out.id = "seen";
  out.textContent = JSON.stringify({ seen, errors: seenErrors });
  document.body.append(out);
})();
</script>"""


@unittest.skipIf(CHROMIUM is None and not os.environ.get("CI"),
                 "SKIPPED: chromium is not installed, the page was not tried in a browser")
class Page(PosCase):
    def page(self, tree):
        self.write("comp.pos", tree)
        return self.expect("report", "--html", "comp.pos")

    def chromium(self, name, *args):
        self.assertIsNotNone(CHROMIUM, "chromium is not installed")
        with tempfile.TemporaryDirectory(prefix="kelvarune-chromium-",
                                         ignore_cleanup_errors=True) as profile:
            run = subprocess.run([CHROMIUM, *FLAGS, f"--user-data-dir={profile}", *args,
                                  f"file://{self.root}/{name}"],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, timeout=max(LIMIT_S, 90))
        errors = run.stderr.decode(errors="replace")
        self.assertNotIn("CONSOLE", errors)
        return run.stdout.decode()

    def drive(self, page, body, *args):
        """What `body`, run in the page, returns."""
        page = page.replace("<head>", "<head>" + LISTEN, 1)
        page = page.replace("</body>", DRIVE.replace("BODY", body) + "</body>")
        self.write("driven.html", page)
        dom = self.chromium("driven.html", "--dump-dom", "--virtual-time-budget=10000", *args)
        found = re.search(r'<pre id="seen">(.*?)</pre>', dom, re.S)
        self.assertIsNotNone(found, dom[-2000:])
        result = json.loads(html.unescape(found.group(1)))
        self.assertEqual([], result["errors"])
        return result["seen"]

    def test_sort_filter_and_numbers(self):
        seen = self.drive(self.page(component()), """
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
          $("#reset").click();
          $("#alone").click(); seen.alone = names();
          $("#reset").click();
          $("#driver").value = $$("#driver option").find((o) => o.textContent === "smt/cvc5").value;
          $("#driver").dispatchEvent(new Event("change")); seen.driver = names();
          $("#reset").click();
          $$(".tile")[1].click(); seen.tile = [names(), $("#obligation").textContent];
          $("#obligation").click(); seen.released = count();
          return seen;""")
        in_file = ["init.1.1", "init.1.2", "open.2.1", "open.2.2", "open.2.3", "open.2.4"]
        self.assertEqual({
            "title": "comp \u2013 proof status", "share": "50.0 %", "verdict": "1 disproved goal",
            "bars": 5,
            "all": [["init.1.1", "Proved", "own Proved(1)"], ["init.1.2", "Proved", "smt/z3alone"],
                    ["open.2.1", "Proved", "smt/z3, smt/cvc5"],
                    ["open.2.2", "Unreliably proved", "rules/fast (not counted: smt/z3)"],
                    ["open.2.3", "Disproved", " (not counted: smt/cvc5)"],
                    ["open.2.4", "Unproved", ""]],
            "best": in_file[:4] + ["open.2.4", "open.2.3"],
            "worst": ["open.2.3", "open.2.4", "open.2.2"] + in_file[:3],
            "marked": "descending",
            "proofs": ["init.1.1", "open.2.2", "init.1.2", "open.2.1", "open.2.3", "open.2.4"],
            "sorted": in_file, "search": ["init.1.2", "open.2.1", "open.2.2"],
            "none": ["No goal matches the filters.", "0 of 6 goals"], "reset": "6 goals",
            "statuses": ["open.2.3", "open.2.4"], "alone": ["init.1.2"], "driver": ["open.2.1"],
            "tile": [in_file[2:], "open.2 \u00d7"], "released": "6 goals",
        }, seen)

    def test_names_are_text_and_nothing_is_fetched(self):
        nasty = "</script><img src=http://127.0.0.1:9/x onerror=alert(1)>@STYLE@&amp;"
        page = self.page(obligations(po(nasty, goal(mech(nasty, "Proved", **{"d": "Proved"}),
                                                    status="Proved"))))
        seen = self.drive(page, """
          return { name: names()[0], tag: $(".tile .tag").textContent, images: document.images.length,
                   fetched: performance.getEntriesByType("resource").length };""")
        self.assertEqual({"name": nasty + ".1", "tag": nasty, "images": 0, "fetched": 0}, seen)
        self.assertEqual([], re.findall(r'(?:src|href)="(?!#|data:)[^"]*"', page))

    def test_nothing_to_show(self):
        seen = self.drive(self.page(obligations()), """
          return [$("#share").textContent, $("#verdict").textContent, count(),
                  $("#mechanisms").textContent];""")
        self.assertEqual(["0 %", "No goals", "0 goals", "No mechanism is registered yet."], seen)

    def test_ten_thousand_goals_scroll_and_sort(self):
        seen = self.drive(self.page(large(10000)), """
          const seen = { drawn: $$("#rows tr").length };
          const filled = $("#rows tr.space").getBoundingClientRect().top;
          seen.full = filled >= $("#scroller").getBoundingClientRect().bottom;
          const begin = performance.now();
          for (const by of ["status", "goal", "proof"]) { sort(by); sort(by); }
          type("op3"); type("");
          seen.ms = performance.now() - begin;
          sort("goal");
          scroll(1e9);
          seen.last = names().pop();
          scroll($("#scroller").scrollHeight / 2);
          $("#scroller").scrollIntoView({ behavior: "instant" });
          const box = $("#scroller").getBoundingClientRect();
          const middle = document.elementFromPoint(box.left + 20, box.top + box.height / 2);
          seen.middle = middle.closest("tr").cells[0].textContent;
          dispatchEvent(new Event("beforeprint"));
          seen.printed = $$("#rows tr").length;
          return seen;""")
        self.assertTrue(seen["full"], seen)
        self.assertLess(seen["drawn"], 200)
        self.assertLess(seen["ms"], 3000)
        self.assertEqual(("op8.998.10", 10000), (seen["last"], seen["printed"]))
        self.assertRegex(seen["middle"], r"op4\.\d+\.\d+")

    def test_at_every_width_by_day_and_by_night(self):
        # The colours of the page and of what is proved.
        schemes = {1: ["rgb(244, 245, 247)", "rgb(18, 134, 106)"],
                   0: ["rgb(17, 21, 27)", "rgb(47, 181, 146)"]}
        for width in (500, 1400):  # no window is narrower
            for scheme, colours in schemes.items():
                with self.subTest(width=width, scheme=scheme):
                    seen = self.drive(self.page(component()), """
                      const colour = (part) => getComputedStyle($(part)).backgroundColor;
                      const share = $("#share").getBoundingClientRect();
                      return [[colour("body"), colour(".s3")], innerWidth,
                              document.documentElement.scrollWidth <= innerWidth,
                              share.width > 0 && share.left >= 0 && share.right <= innerWidth];""",
                                      f"--window-size={width},900",
                                      f"--blink-settings=preferredColorScheme={scheme}")
                    self.assertEqual([colours, width, True, True], seen)


if __name__ == "__main__":
    unittest.main()
