(() => {
  "use strict";
  const { STATUSES, byId, number, plural, element, svg, percent, partsOf, fillBar, timeText } = kelvaruneParts;
  const data = JSON.parse(byId("data").textContent);

  const NAME = {};
  const RANK = {};
  STATUSES.forEach((status, i) => { NAME[status.id] = status.name; RANK[status.id] = i; });
  const PROVED = 3;
  const DISPROVED = 4;

  const goals = data.goals.map(([obligation, n, status, proofs, uncounted, disproofs, own, only, source], index) => ({
    index, obligation, n, status, proofs, uncounted, disproofs, own, only, source,
    name: `${data.obligations[obligation]}.${n}`,
  }));
  // What the goal took, all drivers together, in microseconds; null where that is not known.
  if (data.history) {
    for (const goal of goals) {
      const plays = data.history.plays[goal.index];
      goal.time = plays.length ? plays.reduce((sum, [, wall]) => sum + wall, 0) : null;
    }
  }
  const driverNames = (indexes) => indexes.map((i) => data.drivers[i]).join(", ");
  for (const goal of goals) {
    goal.by = driverNames(goal.proofs);
    goal.rest = driverNames(goal.uncounted);
    goal.against = goal.disproofs.length ? `disproved by ${driverNames(goal.disproofs)}` : "";
    goal.words = `${goal.name} ${goal.by} ${goal.against} ${goal.rest} ${goal.own || ""} ${goal.source || ""}`.toLowerCase();
  }

  // What a driver is to a goal: what the panel counts, and the filter selects.
  const ROLES = {
    proved: { label: "Proved by", is: (goal, driver) => goal.proofs.includes(driver) },
    alone: { label: "Proved only by", is: (goal, driver) => goal.only === driver },
    disproved: { label: "Disproved by", is: (goal, driver) => goal.disproofs.includes(driver) },
  };
  const ROLE_NAMES = Object.keys(ROLES);
  const countOf = data.drivers.map((_, driver) => Object.fromEntries(
    ROLE_NAMES.map((role) => [role, goals.filter((goal) => ROLES[role].is(goal, driver)).length])));

  // ---- Totals

  function showTotals() {
    const totals = data.totals;
    document.title = `${data.component} – proof status`;
    byId("component").textContent = data.component;
    if (data.home) {
      byId("home").href = data.home;
      byId("home-part").hidden = false;
    }
    byId("origin").textContent = `${data.file}, as of ${timeText(data.modified)}`;
    byId("footer").textContent = `Made by ${data.program}`;

    const verdict = byId("verdict");
    const open = totals.total - totals.proved;
    verdict.textContent = totals.disproved ? plural(totals.disproved, "disproved goal")
      : open ? `${plural(open, "goal")} to go` : totals.total ? "All proved" : "No goals";
    verdict.classList.add(totals.disproved ? "bad" : open || !totals.total ? "open" : "good");

    const whole = tiles.filter((tile) => tile.proved === tile.goals.length).length;
    kelvaruneParts.showTotals(totals, [
      ["Goals", totals.total],
      ["Obligations", tiles.length],
      ["Obligations fully proved", whole],
      ["Proved by mechanisms", totals.provedExternally],
      ["By the component's own proof", totals.provedByProofState],
      ["On one driver alone", totals.provedByOneDriver],
    ]);
    if (totals.total === 0) {
      byId("empty").textContent = `${data.file} is empty: it has no goals, so there is nothing to prove.`;
      byId("empty").hidden = false;
      document.querySelectorAll(".part").forEach((part) => { part.hidden = true; });
    }
  }

  // ---- Mechanisms and drivers

  const small = (text) => element("small", {}, text);
  const cell = (...content) => element("span", { class: "number" }, ...content);

  function judgeRow(kind, name, parts, ...cells) {
    return element("div", { class: `judge ${kind}` }, element("span", { class: "name" }, name || "(no name)"),
      fillBar(element("div", { class: kind === "driver" ? "bar thin" : "bar" }), parts), ...cells);
  }

  function ofTotal(parts, proved) {
    const total = parts.reduce((sum, [, , count]) => sum + count, 0);
    return small(` of ${number(total)} · ${percent(proved, total)} %`);
  }

  function mechanismRow(mechanism) {
    const parts = partsOf(mechanism);
    return judgeRow("mechanism", mechanism.name, parts,
      cell(number(mechanism.proved), ofTotal(parts, mechanism.proved)), cell(), cell());
  }

  // The number of goals to which a driver is this; it leads to them.
  function goalsLink(driver, role) {
    const count = countOf[driver][role];
    if (count === 0) return "0";
    const link = element("button", { type: "button", title: `${ROLES[role].label} ${data.drivers[driver]}` }, number(count));
    link.addEventListener("click", () => {
      Object.assign(filter, unfiltered(), { by: `${role}:${driver}` });
      update();
      byId("goals").scrollIntoView();
    });
    return link;
  }

  function driverRow(judge, driver) {
    const { proved, disproved } = countOf[driver];
    const notCounted = goals.filter((goal) => goal.uncounted.includes(driver)).length + judge.disproved - disproved;
    const parts = partsOf({ ...judge, proved, disproved });
    parts.splice(1, 0, ["rest", "Not counted", notCounted]);
    return judgeRow("driver", judge.name, parts,
      cell(goalsLink(driver, "proved"), ofTotal(parts, proved)),
      cell(goalsLink(driver, "alone"), small(" alone")),
      disproved ? cell(goalsLink(driver, "disproved"), small(" disproved")) : cell());
  }

  function showMechanisms() {
    const place = byId("mechanisms");
    let driver = 0; // they are numbered in this order
    for (const mechanism of data.mechanisms) {
      place.append(mechanismRow(mechanism));
      for (const judge of mechanism.drivers) place.append(driverRow(judge, driver++));
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
      filter.obligation = filter.obligation === tile.index ? null : tile.index;
      update();
      byId("goals").scrollIntoView();
    });
  }

  const ORDERS = {
    open: (a, b) => (b.goals.length - b.proved) - (a.goals.length - a.proved) || a.index - b.index,
    document: (a, b) => a.index - b.index,
    name: (a, b) => a.rank - b.rank,
  };

  function showTiles() {
    const sorted = [...tiles].sort(ORDERS[filter.order]);
    byId("obligations").replaceChildren(...sorted.map((tile) => tile.node));
  }

  // ---- Filters

  const unfiltered = () => ({ text: "", statuses: new Set(), by: "", single: false, obligation: null });
  // What is to be done stands first.
  const filter = { ...unfiltered(), sort: "status", down: true, order: "open" };
  let shown = goals;

  function matching() {
    const words = filter.text.toLowerCase().split(/\s+/).filter(Boolean);
    const [role, driver] = filter.by.split(":");
    return goals.filter((goal) =>
      (!filter.statuses.size || filter.statuses.has(goal.status)) &&
      (filter.obligation === null || goal.obligation === filter.obligation) &&
      (!filter.single || goal.only !== null) &&
      (!filter.by || ROLES[role].is(goal, Number(driver))) &&
      words.every((word) => goal.words.includes(word)));
  }

  const COMPARE = {
    goal: (a, b) => tiles[a.obligation].rank - tiles[b.obligation].rank || a.n - b.n,
    status: (a, b) => RANK[a.status] - RANK[b.status],
    time: (a, b) => (a.time === null ? -1 : a.time) - (b.time === null ? -1 : b.time),
    proof: (a, b) => collator.compare(a.by || a.own || a.against || "\uffff", b.by || b.own || b.against || "\uffff"),
  };

  function update() {
    shown = matching();
    if (filter.sort !== "file") {
      const sign = filter.down ? -1 : 1;
      shown.sort((a, b) => sign * COMPARE[filter.sort](a, b) || a.index - b.index);
    }
    byId("count").textContent = shown.length === goals.length ? plural(goals.length, "goal")
      : `${number(shown.length)} of ${plural(goals.length, "goal")}`;
    byId("reset").hidden = shown.length === goals.length;
    byId("scroller").scrollTop = 0;
    byId("table").setAttribute("aria-rowcount", shown.length + 1);
    showFilter();
    writeAddress();
    draw(true);
  }

  function press(button, on) {
    button.setAttribute("aria-pressed", on ? "true" : "false");
  }

  // The controls say what the filter is, however it came about.
  function showFilter() {
    if (byId("search").value !== filter.text) byId("search").value = filter.text;
    byId("driver").value = filter.by;
    document.querySelectorAll("[data-status]").forEach((chip) => press(chip, filter.statuses.has(Number(chip.dataset.status))));
    press(byId("alone"), filter.single);
    document.querySelectorAll(".tile[aria-pressed=true]").forEach((tile) => press(tile, false));
    const chip = byId("obligation");
    chip.hidden = filter.obligation === null;
    press(chip, !chip.hidden);
    if (!chip.hidden) {
      const tile = tiles[filter.obligation];
      chip.textContent = `${tile.tag} ×`;
      chip.setAttribute("aria-label", `Only ${tile.tag}: remove this filter`);
      press(tile.node, true);
    }
    for (const head of document.querySelectorAll("th[data-sort]")) {
      head.removeAttribute("aria-sort");
      if (head.dataset.sort === filter.sort) head.setAttribute("aria-sort", filter.down ? "descending" : "ascending");
    }
    byId("obligation-order").value = filter.order;
  }

  function makeDriverFilter() {
    const drivers = byId("driver");
    drivers.append(element("option", { value: "" }, "Any driver"));
    for (const role of ROLE_NAMES) {
      data.drivers.forEach((name, driver) => drivers.append(element("option", { value: `${role}:${driver}` },
        `${ROLES[role].label} ${name} (${number(countOf[driver][role])})`)));
    }
  }

  function makeStatusChips() {
    for (const status of STATUSES) {
      if (!data.totals[status.key]) continue;
      const chip = element("button", { type: "button", class: "chip", "aria-pressed": "false", "data-status": status.id },
        element("span", { class: `dot s${status.id}` }), status.name);
      chip.addEventListener("click", () => {
        if (!filter.statuses.delete(status.id)) filter.statuses.add(status.id);
        update();
      });
      byId("statuses").append(chip);
    }
  }

  // A control changes the filter, and the page follows.
  function bind(id, event, change) {
    byId(id).addEventListener(event, () => { change(byId(id).value); update(); });
  }

  // A column sorts upwards, then downwards, then no more.
  function sortBy(column) {
    const order = filter.sort !== column ? [column, false] : filter.down ? ["file", false] : [column, true];
    [filter.sort, filter.down] = order;
    update();
  }

  function makeFilters() {
    makeStatusChips();
    makeDriverFilter();
    bind("driver", "change", (value) => { filter.by = value; });
    bind("search", "input", (value) => { filter.text = value; });
    bind("alone", "click", () => { filter.single = !filter.single; });
    bind("obligation", "click", () => { filter.obligation = null; });
    bind("reset", "click", () => Object.assign(filter, unfiltered()));
    bind("obligation-order", "change", (value) => { filter.order = value; showTiles(); });
    for (const head of document.querySelectorAll("th[data-sort]"))
      head.firstChild.addEventListener("click", () => sortBy(head.dataset.sort));
  }

  // ---- The address holds the filter, so that a view can be linked. Drivers and obligations stand
  // there by name: a later page of the same component may number them differently.

  function addressOfFilter() {
    const params = new URLSearchParams();
    const set = (name, value) => { if (value) params.set(name, value); };
    set("q", filter.text);
    set("status", STATUSES.filter((s) => filter.statuses.has(s.id)).map((s) => s.key).join());
    const [role, driver] = filter.by.split(":");
    set("by", filter.by && `${role}:${data.drivers[driver]}`);
    set("single", filter.single && "1");
    if (filter.obligation !== null) {
      const { tag, index } = tiles[filter.obligation];
      params.set("obligation", tag);
      set("nth", tiles.filter((tile) => tile.tag === tag && tile.index < index).length); // of those with this tag
    }
    set("sort", (filter.sort !== "status" || !filter.down) && (filter.down ? "-" : "") + filter.sort);
    set("order", filter.order !== "open" && filter.order);
    return params.toString();
  }

  function writeAddress() {
    const address = addressOfFilter();
    if (address === location.hash.slice(1)) return;
    try {
      history.replaceState(null, "", `#${address}`);
    } catch (error) {
      // Some browsers allow only so many changes in a time; the next one writes this one, too.
    }
  }

  // Takes the filter from the address. What is not known there any more is left out.
  function readAddress() {
    const params = new URLSearchParams(location.hash.slice(1));
    const get = (name) => params.get(name) || "";
    const [, role, name] = get("by").match(/^(\w+):(.*)$/s) || [];
    const driver = data.drivers.indexOf(name);
    const tagged = tiles.filter((tile) => tile.tag === params.get("obligation"));
    const tile = tagged[Number(get("nth"))];
    const [, down, column] = get("sort").match(/^(-?)(goal|status|proof|time|file)$/) || ["", "-", "status"];
    const keys = get("status").split(",");
    Object.assign(filter, {
      text: get("q"),
      statuses: new Set(STATUSES.filter((s) => keys.includes(s.key)).map((s) => s.id)),
      by: ROLE_NAMES.includes(role) && driver >= 0 ? `${role}:${driver}` : "",
      single: get("single") === "1",
      obligation: tile ? tile.index : null,
      sort: column === "time" && !data.history ? "status" : column, down: down === "-",
      order: Object.keys(ORDERS).includes(get("order")) ? get("order") : "open",
    });
    showTiles();
    update();
    if (shown.length < goals.length) byId("goals").scrollIntoView();
  }

  // ---- The table: only the rows in view are in the document, but all of them on paper.

  const MARGIN = 12;
  let drawn = [0, 0]; // the rows in the document: from, to

  function proofCell(goal) {
    const cell = element("td", { class: "c-proof", role: "cell" });
    if (goal.own) cell.append(element("span", { class: "own" }, `own ${goal.own}`), goal.by ? ", " : "");
    cell.append(goal.by);
    if (goal.against) cell.append(goal.by || goal.own ? ", " : "", element("span", { class: "against" }, goal.against));
    if (goal.rest) cell.append(" ", element("span", { class: "uncounted" }, `(not counted: ${goal.rest})`));
    if (goal.only !== null) cell.append(element("span", { class: "only", title: "No other driver has proved this goal" }, "alone"));
    cell.title = cell.textContent;
    return cell;
  }

  // Roles are spelled out: a narrow page lays the rows out as a grid, which takes them away.
  function rowOf(goal, position) {
    return element("tr", { role: "row", "aria-rowindex": position + 2 },
      element("td", { class: "c-goal", role: "cell", title: goal.name + (goal.source ? `: ${goal.source}` : "") },
        element("span", { class: "goal" }, element("span", {}, data.obligations[goal.obligation]), `.${goal.n}`,
          goal.source ? element("span", { class: "source" }, goal.source) : "")),
      element("td", { class: "c-status", role: "cell" }, element("span", { class: `dot s${goal.status}` }), NAME[goal.status]),
      proofCell(goal),
      ...(data.history ? [element("td", { class: "c-time", role: "cell" }, goal.time === null ? "" : `${(goal.time / 1e6).toFixed(3)} s`)] : []));
  }

  const columns = data.history ? 4 : 3;

  function space(rows, height) {
    return element("tr", { class: "space", "aria-hidden": "true" },
      element("td", { colspan: columns, style: `height:${rows * height}px` }));
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
      rows.push(element("tr", {}, element("td", { class: "empty", colspan: columns }, "No goal matches the filters.")));
    byId("rows").replaceChildren(...rows);
  }

  if (data.history && goals.length) {
    document.querySelector("#table thead tr").append(element("th",
      { scope: "col", role: "columnheader", class: "c-time", "data-sort": "time" }, element("button", { type: "button" }, "Time")));
    kelvaruneTimes({ data, goals, element, svg, number, plural, find: (name) => {
      Object.assign(filter, unfiltered(), { text: name });
      update();
      byId("goals").scrollIntoView();
    } });
  }
  tiles.forEach(makeTile);
  showTotals();
  showMechanisms();
  makeFilters();
  byId("scroller").addEventListener("scroll", () => draw(false), { passive: true });
  window.addEventListener("resize", () => draw(true));
  window.addEventListener("beforeprint", () => draw(true, true));
  window.addEventListener("afterprint", () => draw(true));
  // The link that skips to the table changes the address as well.
  window.addEventListener("hashchange", () => { if (location.hash !== "#goals") readAddress(); });
  readAddress();
})();
