(() => {
  "use strict";
  const data = JSON.parse(document.getElementById("data").textContent);

  // Statuses by number, in the order in which they are shown: best first.
  const STATUSES = [
    { id: 3, key: "proved", name: "Proved" },
    { id: 2, key: "unreliablyProved", name: "Unreliably proved" },
    { id: 0, key: "unproved", name: "Unproved" },
    { id: 1, key: "unknown", name: "Unknown" },
    { id: 4, key: "disproved", name: "Disproved" },
  ];
  const NAME = {};
  const RANK = {};
  STATUSES.forEach((status, i) => { NAME[status.id] = status.name; RANK[status.id] = i; });
  const PROVED = 3;
  const DISPROVED = 4;

  const byId = (id) => document.getElementById(id);
  const number = (n) => n.toLocaleString("en");
  const plural = (n, noun) => `${number(n)} ${noun}${n === 1 ? "" : "s"}`;

  function element(tag, attributes, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes || {})) node.setAttribute(name, value);
    node.append(...children);
    return node;
  }

  function svg(tag, attributes) {
    const node = document.createElementNS("http://www.w3.org/2000/svg", tag);
    for (const [name, value] of Object.entries(attributes)) node.setAttribute(name, value);
    return node;
  }

  // Never 100 before the last one, never 0 after the first.
  function percent(part, total) {
    if (total === 0) return "0";
    if (part === total) return "100";
    const tenths = Math.floor((part * 1000) / total) / 10;
    return (part > 0 && tenths === 0 ? 0.1 : tenths).toFixed(1);
  }

  const goals = data.goals.map(([obligation, n, status, proofs, uncounted, own, only], index) => ({
    index, obligation, n, status, proofs, uncounted, own, only: only === 1,
    name: `${data.obligations[obligation]}.${n}`,
  }));
  const driverNames = (indexes) => indexes.map((i) => data.drivers[i]).join(", ");
  for (const goal of goals) {
    goal.by = driverNames(goal.proofs);
    goal.rest = driverNames(goal.uncounted);
    goal.words = `${goal.name} ${goal.by} ${goal.rest} ${goal.own || ""}`.toLowerCase();
  }

  // ---- Totals

  function describe(counts) {
    return STATUSES.filter((s) => counts[s.key]).map((s) => `${s.name} ${counts[s.key]}`).join(", ") || "none";
  }

  function fillBar(bar, counts) {
    bar.setAttribute("role", "img");
    bar.setAttribute("aria-label", describe(counts));
    bar.title = describe(counts);
    for (const status of STATUSES) {
      if (counts[status.key])
        bar.append(element("span", { class: `s${status.id}`, style: `flex:${counts[status.key]} 0 0` }));
    }
    return bar;
  }

  function showTotals() {
    const totals = data.totals;
    document.title = `${data.component} – proof status`;
    byId("component").textContent = data.component;
    const when = data.modified.replace("T", " ").replace("Z", " UTC");
    byId("origin").textContent = `${data.file}, as of ${when}`;
    byId("footer").textContent = `Made by ${data.program}`;

    const verdict = byId("verdict");
    const open = totals.total - totals.proved;
    verdict.textContent = totals.disproved ? plural(totals.disproved, "disproved goal")
      : open ? `${plural(open, "goal")} to go` : totals.total ? "All proved" : "No goals";
    verdict.classList.add(totals.disproved ? "bad" : open || !totals.total ? "open" : "good");

    byId("share").textContent = `${percent(totals.proved, totals.total)} %`;
    fillBar(byId("totals"), totals);
    for (const status of STATUSES) {
      byId("legend").append(element("li", {}, element("span", { class: `dot s${status.id}` }),
        status.name, " ", element("b", {}, number(totals[status.key]))));
    }
    const whole = tiles.filter((tile) => tile.proved === tile.goals.length).length;
    const figures = [
      ["Goals", totals.total],
      ["Obligations", tiles.length],
      ["Obligations fully proved", whole],
      ["Proved by mechanisms", totals.provedExternally],
      ["By the component's own proof", totals.provedByProofState],
      ["On one driver alone", totals.provedByOneDriver],
    ];
    for (const [name, value] of figures)
      byId("figures").append(element("div", {}, element("dt", {}, name), element("dd", {}, number(value))));
  }

  // ---- Mechanisms and drivers

  function judgeRow(kind, judge, alone) {
    const total = STATUSES.reduce((sum, status) => sum + (judge[status.key] || 0), 0);
    const share = element("span", { class: "number" }, number(judge.proved), " ",
      element("small", {}, `of ${number(total)} · ${percent(judge.proved, total)} %`));
    const only = element("span", { class: "number" });
    if (alone !== undefined) only.append(number(alone), " ", element("small", {}, "alone"));
    return element("div", { class: `judge ${kind}` },
      element("span", { class: "name" }, judge.name || "(no name)"),
      fillBar(element("div", { class: kind === "driver" ? "bar thin" : "bar" }), judge), share, only);
  }

  function showMechanisms() {
    const place = byId("mechanisms");
    for (const mechanism of data.mechanisms) {
      place.append(judgeRow("mechanism", mechanism));
      for (const driver of mechanism.drivers) place.append(judgeRow("driver", driver, driver.provedAlone));
    }
    if (data.mechanisms.length === 0)
      place.append(element("p", { class: "note" }, "No mechanism is registered yet."));
  }

  // ---- Obligations

  const tiles = data.obligations.map((tag, index) => ({ tag, index, goals: [], proved: 0 }));
  for (const goal of goals) {
    tiles[goal.obligation].goals.push(goal);
    tiles[goal.obligation].proved += goal.status === PROVED ? 1 : 0;
  }
  const collator = new Intl.Collator("en", { numeric: true });
  [...tiles].sort((a, b) => collator.compare(a.tag, b.tag) || a.index - b.index)
    .forEach((tile, rank) => { tile.rank = rank; });

  const PER_LINE = 24;

  // One path per status, so that an obligation of any size is a handful of elements.
  function strip(list) {
    const paths = {};
    let crosses = "";
    list.forEach((goal, i) => {
      const x = (i % PER_LINE) * 10;
      const y = Math.floor(i / PER_LINE) * 10;
      paths[goal.status] = `${paths[goal.status] || ""}M${x} ${y}h8.6v8.6h-8.6z`;
      if (goal.status === DISPROVED) crosses += `M${x + 2} ${y + 2}l4.6 4.6m0 -4.6l-4.6 4.6`;
    });
    const lines = Math.ceil(list.length / PER_LINE);
    const drawing = svg("svg", { viewBox: `0 0 ${PER_LINE * 10 - 1} ${lines * 10 - 1}`, "aria-hidden": "true" });
    for (const [status, path] of Object.entries(paths)) drawing.append(svg("path", { class: `s${status}`, d: path }));
    if (crosses) drawing.append(svg("path", { class: "cross", d: crosses }));
    return drawing;
  }

  function makeTile(tile) {
    const of = `${tile.proved} / ${tile.goals.length}`;
    tile.node = element("button", {
      type: "button", class: "tile", "aria-pressed": "false",
      "aria-label": `${tile.tag}: ${tile.proved} of ${plural(tile.goals.length, "goal")} proved`, title: tile.tag,
    }, element("span", { class: "head" }, element("span", { class: "tag" }, tile.tag),
      element("span", { class: "of" }, of)), strip(tile.goals));
    tile.node.addEventListener("click", () => {
      chooseObligation(filter.obligation === tile.index ? null : tile.index);
      byId("goals").scrollIntoView();
    });
  }

  function showTiles() {
    const orders = {
      document: (a, b) => a.index - b.index,
      open: (a, b) => (b.goals.length - b.proved) - (a.goals.length - a.proved) || a.index - b.index,
      name: (a, b) => a.rank - b.rank,
    };
    const sorted = [...tiles].sort(orders[byId("obligation-order").value]);
    byId("obligations").replaceChildren(...sorted.map((tile) => tile.node));
  }

  // ---- Filters

  const filter = { words: [], statuses: new Set(), driver: "", alone: false, obligation: null };
  const sorting = { by: "", down: false };
  let shown = goals;

  function matches(goal) {
    if (filter.statuses.size && !filter.statuses.has(goal.status)) return false;
    if (filter.obligation !== null && goal.obligation !== filter.obligation) return false;
    if (filter.alone && !goal.only) return false;
    if (filter.driver !== "" && !goal.proofs.includes(Number(filter.driver))) return false;
    return filter.words.every((word) => goal.words.includes(word));
  }

  const COMPARE = {
    goal: (a, b) => tiles[a.obligation].rank - tiles[b.obligation].rank || a.n - b.n,
    status: (a, b) => RANK[a.status] - RANK[b.status],
    proof: (a, b) => collator.compare(a.by || a.own || "\uffff", b.by || b.own || "\uffff"),
  };

  function update() {
    shown = goals.filter(matches);
    if (sorting.by) {
      const compare = COMPARE[sorting.by];
      const sign = sorting.down ? -1 : 1;
      shown.sort((a, b) => sign * compare(a, b) || a.index - b.index);
    }
    byId("count").textContent = shown.length === goals.length ? plural(goals.length, "goal")
      : `${number(shown.length)} of ${plural(goals.length, "goal")}`;
    byId("reset").hidden = shown.length === goals.length;
    byId("scroller").scrollTop = 0;
    byId("table").setAttribute("aria-rowcount", shown.length + 1);
    draw(true);
  }

  function press(button, on) {
    button.setAttribute("aria-pressed", on ? "true" : "false");
  }

  function chooseObligation(index) {
    if (filter.obligation !== null) press(tiles[filter.obligation].node, false);
    filter.obligation = index;
    const chip = byId("obligation");
    chip.hidden = index === null;
    press(chip, true);
    if (index !== null) {
      chip.textContent = `${tiles[index].tag} ×`;
      chip.setAttribute("aria-label", `Only ${tiles[index].tag}: remove this filter`);
      press(tiles[index].node, true);
    }
    update();
  }

  function makeStatusChips() {
    for (const status of STATUSES) {
      const count = data.totals[status.key];
      if (!count) continue;
      const chip = element("button", { type: "button", class: "chip", "aria-pressed": "false", "data-status": status.id },
        element("span", { class: `dot s${status.id}` }), status.name);
      chip.addEventListener("click", () => {
        const on = !filter.statuses.has(status.id);
        if (on) filter.statuses.add(status.id); else filter.statuses.delete(status.id);
        press(chip, on);
        update();
      });
      byId("statuses").append(chip);
    }
  }

  function makeFilters() {
    makeStatusChips();
    const drivers = byId("driver");
    drivers.append(element("option", { value: "" }, "Any driver"));
    data.drivers.forEach((name, i) => drivers.append(element("option", { value: i }, name)));
    drivers.addEventListener("change", () => { filter.driver = drivers.value; update(); });
    byId("search").addEventListener("input", () => {
      filter.words = byId("search").value.toLowerCase().split(/\s+/).filter(Boolean);
      update();
    });
    byId("alone").addEventListener("click", () => {
      filter.alone = !filter.alone;
      press(byId("alone"), filter.alone);
      update();
    });
    byId("obligation").addEventListener("click", () => chooseObligation(null));
    byId("reset").addEventListener("click", () => {
      Object.assign(filter, { words: [], driver: "", alone: false });
      filter.statuses.clear();
      byId("search").value = "";
      drivers.value = "";
      document.querySelectorAll(".filters [aria-pressed]").forEach((chip) => press(chip, false));
      chooseObligation(null);
    });
    for (const head of document.querySelectorAll("th[data-sort]")) {
      head.firstChild.addEventListener("click", () => {
        sorting.down = sorting.by === head.dataset.sort && !sorting.down;
        sorting.by = head.dataset.sort;
        document.querySelectorAll("th[aria-sort]").forEach((other) => other.removeAttribute("aria-sort"));
        head.setAttribute("aria-sort", sorting.down ? "descending" : "ascending");
        update();
      });
    }
  }

  // ---- The table: only the rows in view are in the document, but all of them on paper.

  const MARGIN = 12;
  let drawn = [0, 0]; // the rows in the document: from, to

  function proofCell(goal) {
    const cell = element("td", { class: "c-proof", role: "cell" });
    if (goal.own) cell.append(element("span", { class: "own" }, `own ${goal.own}`), goal.by ? ", " : "");
    cell.append(goal.by);
    if (goal.rest) cell.append(" ", element("span", { class: "uncounted" }, `(not counted: ${goal.rest})`));
    if (goal.only) cell.append(element("span", { class: "only", title: "No other driver has proved this goal" }, "alone"));
    cell.title = cell.textContent;
    return cell;
  }

  // Roles are spelled out: a narrow page lays the rows out as a grid, which takes them away.
  function rowOf(goal, position) {
    return element("tr", { role: "row", "aria-rowindex": position + 2 },
      element("td", { class: "c-goal", role: "cell", title: goal.name },
        element("span", { class: "goal" }, element("span", {}, data.obligations[goal.obligation]), `.${goal.n}`)),
      element("td", { class: "c-status", role: "cell" }, element("span", { class: `dot s${goal.status}` }), NAME[goal.status]),
      proofCell(goal));
  }

  function space(rows, height) {
    return element("tr", { class: "space", "aria-hidden": "true" },
      element("td", { colspan: 3, style: `height:${rows * height}px` }));
  }

  function draw(force, all) {
    const scroller = byId("scroller");
    const height = parseFloat(getComputedStyle(document.documentElement).getPropertyValue("--row"));
    let first = Math.max(0, Math.floor(scroller.scrollTop / height) - MARGIN);
    // The window's height bounds that of the scroller, which has grown only once there are rows.
    const end = Math.ceil((scroller.scrollTop + window.innerHeight) / height);
    let last = Math.min(shown.length, end + MARGIN);
    if (all) [first, last] = [0, shown.length];
    const isNear = Math.abs(first - drawn[0]) + Math.abs(last - drawn[1]) < MARGIN;
    if (!force && isNear && first !== 0 && last !== shown.length) return;
    drawn = [first, last];
    const rows = shown.slice(first, last).map((goal, i) => rowOf(goal, first + i));
    if (first > 0) rows.unshift(space(first, height));
    if (last < shown.length) rows.push(space(shown.length - last, height));
    if (shown.length === 0)
      rows.push(element("tr", {}, element("td", { class: "empty", colspan: 3 }, "No goal matches the filters.")));
    byId("rows").replaceChildren(...rows);
  }

  tiles.forEach(makeTile);
  showTotals();
  showMechanisms();
  showTiles();
  makeFilters();
  byId("obligation-order").addEventListener("change", showTiles);
  byId("scroller").addEventListener("scroll", () => draw(false), { passive: true });
  window.addEventListener("resize", () => draw(true));
  window.addEventListener("beforeprint", () => draw(true, true));
  window.addEventListener("afterprint", () => draw(true));
  update();
})();
