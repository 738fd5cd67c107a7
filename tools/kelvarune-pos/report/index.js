(() => {
  "use strict";
  const { byId, number, plural, element, percent, partsOf, fillBar, timeText } = kelvaruneParts;
  const data = JSON.parse(byId("data").textContent);
  const isCompared = data.against !== "";
  const KINDS = [["lost", "Lost", "lost"], ["gained", "Gained", "gained"], ["changed", "Changed otherwise", ""],
    ["disappeared", "Gone", "lost"], ["appeared", "New", ""]];
  const MOST_SHOWN = 200; // of each kind

  const seconds = (value) => (value === null ? "" : value.toFixed(1));
  const components = data.components.map((component, index) => {
    const { totals } = component;
    return { ...component, index, open: totals.total - totals.proved, isRead: component.state === "read",
             lost: component.changes.lost.count, words: `${component.name} ${component.file}`.toLowerCase() };
  });
  const present = components.filter((component) => component.state !== "gone");

  // ---- The head

  function showHead() {
    const { totals } = data;
    document.title = `${data.name} – proof status`;
    byId("name").textContent = data.name;
    byId("origin").textContent = plural(present.length, "component") +
      (data.modified ? `, as of ${timeText(data.modified)}` : "");
    byId("footer").textContent = `Made by ${data.program}`;
    const lost = components.reduce((sum, component) => sum + component.lost, 0);
    const unreadable = present.filter((component) => !component.isRead).length;
    const open = totals.total - totals.proved;
    const bad = [lost && plural(lost, "proof") + " lost", unreadable && `${plural(unreadable, "component")} unreadable`,
      totals.disproved && plural(totals.disproved, "disproved goal")].filter(Boolean);
    const verdict = byId("verdict");
    verdict.textContent = bad.length ? bad.join(", ") : open ? `${plural(open, "goal")} to go`
      : totals.total ? "All proved" : "No goals";
    verdict.classList.add(bad.length ? "bad" : open || !totals.total ? "open" : "good");
    kelvaruneParts.showTotals(totals, [
      ["Components", present.length],
      ["Components fully proved", present.filter((component) => component.isRead && !component.open).length],
      ["Goals", totals.total],
      ["Proved by mechanisms", totals.provedExternally],
      ["By components' own proofs", totals.provedByProofState],
      ["On one driver alone", totals.provedByOneDriver],
      ...(data.seconds === null ? [] : [["Seconds of all drivers", seconds(data.seconds)]]),
    ]);
  }

  function showFaults() {
    const faults = components.flatMap((component) => component.faults.map((fault) => [component.name, fault]));
    byId("faults").hidden = faults.length === 0;
    byId("fault-list").append(...faults.map(([name, fault]) =>
      element("li", {}, element("b", {}, name), " ", fault)));
  }

  // ---- What changed

  function changedGoal(component, [goal, before, after]) {
    const name = after !== null && component.isRead
      ? element("a", { href: `${component.page}#q=${encodeURIComponent(goal)}` }, goal) : goal;
    return element("li", {}, element("span", { class: "goal" }, `${component.name}: `, name),
      element("span", { class: "step" }, `${before || "none"} \u2192 ${after || "gone"}`));
  }

  function changeList(kind, label) {
    const goals = components.flatMap((component) => component.changes[kind].goals.map((goal) => [component, goal]));
    const count = components.reduce((sum, component) => sum + component.changes[kind].count, 0);
    if (!count) return "";
    const shown = goals.slice(0, MOST_SHOWN).map(([component, goal]) => changedGoal(component, goal));
    if (shown.length < count) shown.push(element("li", {}, `and ${number(count - shown.length)} more; kelvarune-pos diff lists all`));
    const details = element("details", {}, element("summary", {}, `${label}: ${plural(count, "goal")}`),
      element("ul", { class: "changed" }, ...shown));
    details.open = kind === "lost" || kind === "disappeared";
    return details;
  }

  function showChanges() {
    if (!isCompared) return;
    byId("changes").hidden = false;
    byId("changes-title").textContent = `Since ${data.against}`;
    for (const [kind, label, style] of KINDS) {
      const count = components.reduce((sum, component) => sum + component.changes[kind].count, 0);
      byId("change-figures").append(element("div", {}, element("dt", {}, label),
        element("dd", { class: count ? style : "" }, number(count))));
      byId("change-lists").append(changeList(kind, label));
    }
  }

  // ---- The components

  // What is wrong stands first.
  const rank = (component) => (component.state === "unreadable" ? 0 : component.lost ? 1 : component.totals.disproved ? 2
    : component.state === "gone" ? 3 : component.open ? 4 : 5);
  const collator = new Intl.Collator("en", { numeric: true });
  const share = (component) => (component.totals.total ? component.totals.proved / component.totals.total : 1);
  const COLUMNS = [
    { key: "name", label: "Component", style: "c-name", compare: (a, b) => collator.compare(a.name, b.name) },
    { key: "share", label: "Goals", style: "c-bar", compare: (a, b) => share(a) - share(b) },
    { key: "proved", label: "Proved", style: "number", compare: (a, b) => a.totals.proved - b.totals.proved },
    { key: "open", label: "Open", style: "number", compare: (a, b) => a.open - b.open },
    { key: "disproved", label: "Disproved", style: "number", compare: (a, b) => a.totals.disproved - b.totals.disproved },
    ...(data.seconds === null ? [] : [{ key: "seconds", label: "Seconds", style: "number",
      compare: (a, b) => (a.seconds === null ? -1 : a.seconds) - (b.seconds === null ? -1 : b.seconds) }]),
    ...(isCompared ? [{ key: "changes", label: "Changes", style: "number",
      compare: (a, b) => a.lost - b.lost || a.changes.gained.count - b.changes.gained.count }] : []),
  ];
  const view = { text: "", onlyOpen: false, sort: "", down: false };

  function changeCells(component) {
    if (component.isNew) return ["new"];
    const words = [["lost", "lost", "lost"], ["gained", "gained", "gained"], ["changed", "changed", ""],
      ["disappeared", "gone", "lost"], ["appeared", "new", ""]].filter(([kind]) => component.changes[kind].count)
      .map(([kind, word, style]) => element("span", { class: style }, `${number(component.changes[kind].count)} ${word}`));
    return words.flatMap((word, i) => (i ? [", ", word] : [word]));
  }

  const cellMakers = {
    name: (component) => [component.isRead ? element("a", { href: component.page }, component.name) : component.name,
      element("span", { class: "file" }, component.file)],
    share: (component) => [fillBar(element("div", { class: "bar" }), partsOf(component.totals))],
    proved: ({ totals }) => [number(totals.proved),
      element("small", {}, ` of ${number(totals.total)} · ${percent(totals.proved, totals.total)} %`)],
    open: (component) => [number(component.open)],
    disproved: (component) => (component.totals.disproved
      ? [element("a", { href: `${component.page}#status=disproved` }, number(component.totals.disproved))] : ["0"]),
    seconds: (component) => [seconds(component.seconds)],
    changes: changeCells,
  };

  function rowOf(component) {
    const cells = COLUMNS.map(({ key, style, label }) => element("td",
      { role: "cell", class: style, ...(key === "name" || key === "share" ? {} : { "data-label": label }) },
      ...cellMakers[key](component)));
    if (component.isRead) return element("tr", { role: "row" }, ...cells);
    const changes = isCompared ? [cells[cells.length - 1]] : [];
    const text = component.state === "gone" ? "gone" : "could not be read";
    return element("tr", { role: "row" }, cells[0],
      element("td", { role: "cell", class: "state", colspan: COLUMNS.length - 1 - changes.length }, text), ...changes);
  }

  function update() {
    const words = view.text.toLowerCase().split(/\s+/).filter(Boolean);
    const shown = components.filter((component) => words.every((word) => component.words.includes(word)) &&
      (!view.onlyOpen || component.open || !component.isRead));
    const column = COLUMNS.find(({ key }) => key === view.sort);
    const compare = column ? (a, b) => (view.down ? -1 : 1) * column.compare(a, b) : (a, b) => rank(a) - rank(b);
    shown.sort((a, b) => compare(a, b) || a.index - b.index);
    byId("count").textContent = shown.length === components.length ? plural(shown.length, "component")
      : `${number(shown.length)} of ${plural(components.length, "component")}`;
    const none = element("tr", {}, element("td", { class: "empty", colspan: COLUMNS.length }, "No component matches."));
    byId("rows").replaceChildren(...(shown.length ? shown.map(rowOf) : [none]));
    byId("open").setAttribute("aria-pressed", view.onlyOpen ? "true" : "false");
    for (const head of byId("heads").children) {
      head.removeAttribute("aria-sort");
      if (head.dataset.sort === view.sort) head.setAttribute("aria-sort", view.down ? "descending" : "ascending");
    }
  }

  // A column sorts upwards, then downwards, then no more.
  function sortBy(column) {
    [view.sort, view.down] = view.sort !== column ? [column, false] : view.down ? ["", false] : [column, true];
    update();
  }

  for (const { key, label, style } of COLUMNS) {
    const button = element("button", { type: "button" }, label);
    button.addEventListener("click", () => sortBy(key));
    byId("heads").append(element("th", { scope: "col", role: "columnheader", class: style, "data-sort": key }, button));
  }
  byId("search").addEventListener("input", () => { view.text = byId("search").value; update(); });
  byId("open").addEventListener("click", () => { view.onlyOpen = !view.onlyOpen; update(); });
  showHead();
  showFaults();
  showChanges();
  update();
})();
