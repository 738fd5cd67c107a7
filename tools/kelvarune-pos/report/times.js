// What the recorded runs took: tables and plots, which page.js asks for where there is a history.
// Times in the data are microseconds.
const kelvaruneTimes = (page) => {
  "use strict";
  const { data, goals, element, svg, number, plural, find } = page;
  const { drivers, runs, plays } = data.history;
  const PROVED = 2;
  const OUTCOMES = ["not counted", "Unknown", "Proved", "Disproved"];
  const SECOND = 1e6;
  const text = (us) => (us / SECOND).toFixed(3);
  const short = (us) => (us >= SECOND ? `${us / SECOND} s` : `${us / 1000} ms`);
  const sum = (values) => values.reduce((total, value) => total + value, 0);
  // One of the values: this share of them are no larger.
  const quantile = (sorted, share) => (sorted.length ? sorted[Math.max(1, Math.ceil(share * sorted.length)) - 1] : 0);
  const ascending = (values) => Float64Array.from(values).sort();

  // By driver, the plays: { goal, wall, cpu, outcome }.
  const byDriver = drivers.map(() => []);
  plays.forEach((list, goal) => {
    for (const [driver, wall, cpu, outcome] of list) byDriver[driver].push({ goal, wall, cpu, outcome });
  });
  const used = drivers.map((_, driver) => driver).filter((driver) => byDriver[driver].length);
  const everything = byDriver.flat();

  // ---- Tables

  // The first cell is a head of its row; numbers, and lists of one text, stand to the right.
  function row(tag, cells) {
    return element("tr", {}, ...cells.map((cell, i) => {
      const isRight = typeof cell === "number" || Array.isArray(cell);
      const shown = typeof cell === "number" ? number(cell) : Array.isArray(cell) ? cell[0] : cell;
      const scope = tag === "th" ? { scope: "col" } : i === 0 ? { scope: "row" } : {};
      return element(i === 0 ? "th" : tag, { ...scope, ...(isRight ? { class: "number" } : {}) }, shown);
    }));
  }

  function table(caption, heads, rows) {
    return element("div", { class: "wide", tabindex: "0", role: "region", "aria-label": caption },
      element("table", { class: "figures-table" }, element("caption", {}, caption),
        element("thead", {}, row("th", heads)), element("tbody", {}, ...rows.map((cells) => row("td", cells)))));
  }

  // The numbers of a plot; made when somebody wants to see them.
  function numbers(caption, make) {
    const details = element("details", {}, element("summary", {}, "Numbers"));
    details.addEventListener("toggle", () => {
      details.querySelectorAll(".wide").forEach((old) => old.remove());
      if (details.open) details.append(table(caption, ...make()));
    });
    return details;
  }

  function timesRow(name, list) {
    const walls = ascending(list.map((play) => play.wall));
    return [name, list.length, list.filter((play) => play.outcome === PROVED).length, [text(sum(walls))],
      [text(sum(list.map((play) => play.cpu)))], [text(quantile(walls, 0.5))], [text(quantile(walls, 0.9))],
      [text(quantile(walls, 1))],
      [text(sum(list.filter((play) => play.outcome !== PROVED).map((play) => play.wall)))]];
  }

  function driversTable() {
    const heads = ["Driver", ["Goals"], ["Proved"], ["Seconds"], ["Processor"], ["Median"], ["90 %"], ["Slowest"], ["No proof"]];
    const rows = used.map((driver) => timesRow(drivers[driver], byDriver[driver]));
    return table("Seconds by driver", heads, [...rows, timesRow("Total", everything)]);
  }

  // ---- Plots

  const MARGIN = { left: 56, right: 12, top: 12, bottom: 40 };
  const redraws = [];

  // A part of the card with a drawing as wide as the page allows.
  function plot(id, title, note, draw, ...more) {
    const holder = element("div", { class: "plot", id });
    redraws.push(() => {
      const width = Math.max(280, Math.min(1100, holder.clientWidth || 640));
      holder.replaceChildren(draw(width, width < 500 ? 260 : 340));
    });
    return element("section", { class: "card part", id: `${id}-card`, "aria-labelledby": `${id}-title` },
      element("h2", { id: `${id}-title` }, title), element("p", { class: "note" }, note), holder, ...more);
  }

  const label = (x, y, words, anchor = "middle") => {
    const node = svg("text", { x, y, "text-anchor": anchor });
    node.textContent = words;
    return node;
  };

  // Powers of ten around the values, which may be 0.
  function logScale(values, from, to) {
    const positive = values.filter((value) => value > 0);
    const low = Math.floor(Math.log10(positive.length ? Math.min(...bounds(positive)) : 1000));
    const high = Math.max(low + 1, Math.ceil(Math.log10(positive.length ? Math.max(...bounds(positive)) : 1e6)));
    const at = (value) => from + ((Math.log10(Math.max(value, 10 ** low)) - low) / (high - low)) * (to - from);
    return { at, ticks: Array.from({ length: high - low + 1 }, (_, i) => 10 ** (low + i)), name: short };
  }

  // Smallest and largest, of any number of values.
  const bounds = (values) => values.reduce(([low, high], value) => [Math.min(low, value), Math.max(high, value)], [Infinity, -Infinity]);

  function linearScale(largest, from, to, name = number) {
    const most = largest > 0 ? largest : 1;
    const step = 10 ** Math.floor(Math.log10(most));
    const unit = most / step > 5 ? 2 * step : most / step > 2 ? step : step / 2;
    const top = Math.ceil(most / unit) * unit;
    return { at: (value) => from + (value / top) * (to - from), name,
             ticks: Array.from({ length: Math.round(top / unit) + 1 }, (_, i) => i * unit) };
  }

  function axes(width, height, x, y, xName, yName, words) {
    const drawing = svg("svg", { viewBox: `0 0 ${width} ${height}`, width, height, role: "img", "aria-label": words });
    for (const tick of x.ticks) {
      drawing.append(svg("line", { class: "grid", x1: x.at(tick), x2: x.at(tick), y1: MARGIN.top, y2: height - MARGIN.bottom }),
        label(x.at(tick), height - MARGIN.bottom + 16, x.name(tick)));
    }
    for (const tick of y.ticks) {
      drawing.append(svg("line", { class: "grid", x1: MARGIN.left, x2: width - MARGIN.right, y1: y.at(tick), y2: y.at(tick) }),
        label(MARGIN.left - 6, y.at(tick) + 4, y.name(tick), "end"));
    }
    drawing.append(label((MARGIN.left + width - MARGIN.right) / 2, height - 6, xName), label(MARGIN.left + 4, MARGIN.top + 10, yName, "start"));
    return drawing;
  }

  function legend(entries) {
    return element("ul", { class: "legend" }, ...entries.map(([kind, name]) =>
      element("li", {}, element("span", { class: `dot ${kind}` }), name)));
  }

  const colour = (i) => `c${i % 8}`;

  // Proofs by time: of each driver, and the fastest of each goal.
  const proofs = used.map((driver) => ({
    name: drivers[driver], kind: colour(driver),
    times: ascending(byDriver[driver].filter((play) => play.outcome === PROVED).map((play) => play.wall)) }));
  const fastest = new Map();
  for (const { goal, wall, outcome } of everything) {
    if (outcome === PROVED && !(fastest.get(goal) <= wall)) fastest.set(goal, wall);
  }
  proofs.push({ name: "Best of all", kind: "best", times: ascending(fastest.values()) });

  function drawCactus(width, height) {
    const x = logScale(everything.map((play) => play.wall), MARGIN.left, width - MARGIN.right);
    const y = linearScale(fastest.size, height - MARGIN.bottom, MARGIN.top);
    const drawing = axes(width, height, x, y, "Time for a goal", "Goals proved",
      `Goals proved within a time: ${proofs.map(({ name, times }) => `${name} ${times.length}`).join(", ")}`);
    for (const { kind, times } of proofs) {
      if (!times.length) continue;
      let path = `M${x.at(times[0]).toFixed(1)} ${y.at(0).toFixed(1)}`;
      times.forEach((time, i) => { path += `H${x.at(time).toFixed(1)}V${y.at(i + 1).toFixed(1)}`; });
      drawing.append(svg("path", { class: `line ${kind}`, d: `${path}H${width - MARGIN.right}` }));
    }
    return drawing;
  }

  function cactusNumbers() {
    const rows = Array.from({ length: Math.max(...proofs.map(({ times }) => times.length)) }, (_, i) =>
      [number(i + 1), ...proofs.map(({ times }) => [i < times.length ? text(times[i]) : ""])]);
    return [["Goals proved", ...proofs.map(({ name }) => [name])], rows];
  }

  // Two drivers against each other, on the goals that both have played.
  const chosen = { x: used[0], y: used[Math.min(1, used.length - 1)] };
  const KINDS = [["both", "Both proved it"], ["onlyx", "Only the one below"], ["onlyy", "Only the one at the left"], ["none", "None"]];

  function pairs() {
    const other = new Map(byDriver[chosen.y].map((play) => [play.goal, play]));
    return byDriver[chosen.x].filter((play) => other.has(play.goal)).map((x) => {
      const y = other.get(x.goal);
      const kind = (x.outcome === PROVED ? 0 : 2) + (y.outcome === PROVED ? 0 : 1);
      return { x, y, kind: ["both", "onlyx", "onlyy", "none"][kind] };
    });
  }

  function drawScatter(width, height) {
    const points = pairs();
    const all = points.flatMap(({ x, y }) => [x.wall, y.wall]);
    const x = logScale(all, MARGIN.left, width - MARGIN.right);
    const y = logScale(all, height - MARGIN.bottom, MARGIN.top);
    const drawing = axes(width, height, x, y, drivers[chosen.x], drivers[chosen.y],
      `${plural(points.length, "goal")} that ${drivers[chosen.x]} and ${drivers[chosen.y]} have played`);
    drawing.append(svg("line", { class: "diagonal", x1: x.at(x.ticks[0]), y1: y.at(y.ticks[0]), x2: x.at(x.ticks[x.ticks.length - 1]), y2: y.at(y.ticks[y.ticks.length - 1]) }));
    for (const [kind] of KINDS) {
      const path = points.filter((point) => point.kind === kind)
        .map((point) => `M${(x.at(point.x.wall) - 2.5).toFixed(1)} ${(y.at(point.y.wall) - 2.5).toFixed(1)}h5v5h-5z`).join("");
      if (path) drawing.append(svg("path", { class: `points ${kind}`, d: path }));
    }
    return drawing;
  }

  function scatterNumbers() {
    return [["Goal", [drivers[chosen.x]], "", [drivers[chosen.y]], ""], pairs().map(({ x, y }) =>
      [goals[x.goal].name, [text(x.wall)], OUTCOMES[x.outcome], [text(y.wall)], OUTCOMES[y.outcome]])];
  }

  function chooser(axis, words) {
    const select = element("select", { id: `scatter-${axis}` }, ...used.map((driver) => element("option", { value: driver }, drivers[driver])));
    select.value = chosen[axis];
    select.addEventListener("change", () => {
      chosen[axis] = Number(select.value);
      scatterDetails.open = false;
      redraw();
    });
    return element("label", {}, `${words} `, select);
  }

  // ---- Slowest goals

  function slowest() {
    const most = goals.filter((goal) => goal.time > 0).sort((a, b) => b.time - a.time).slice(0, 20);
    const top = most.length ? most[0].time : 1;
    return most.map((goal) => {
      const link = element("button", { type: "button", class: "plain" }, goal.name);
      link.addEventListener("click", () => find(goal.name));
      const words = plays[goal.index].map(([driver, wall, , outcome]) => `${drivers[driver]} ${text(wall)} ${OUTCOMES[outcome]}`).join(", ");
      const bar = element("span", { class: "bar thin" }, ...plays[goal.index].map(([driver, wall]) =>
        element("span", { class: colour(driver), style: `flex:${wall} 0 0` })));
      bar.style.width = `${(100 * goal.time) / top}%`;
      return [link, [text(goal.time)], element("span", {}, bar, words)];
    });
  }

  // ---- Trend: what each run took, by driver; the last ones where there are many.

  const MOST_RUNS = 60;
  const lastRuns = runs.slice(-MOST_RUNS);

  function drawTrend(width, height) {
    const y = linearScale(Math.max(...lastRuns.map((run) => run.wall)) / SECOND, height - MARGIN.bottom, MARGIN.top);
    const step = (width - MARGIN.left - MARGIN.right) / lastRuns.length;
    const every = Math.ceil(30 / step);
    const x = { at: (i) => MARGIN.left + (i + 0.5) * step, ticks: lastRuns.map((_, i) => i).filter((i) => i % every === 0), name: (i) => lastRuns[i].run };
    const drawing = axes(width, height, x, y, "Run", "Seconds", `Seconds of ${plural(runs.length, "run")}`);
    lastRuns.forEach((run, i) => {
      let base = 0;
      for (const [driver, wall] of run.drivers) {
        const [low, high] = [y.at(base), y.at(base + wall / SECOND)];
        drawing.append(svg("rect", { class: colour(driver), x: x.at(i) - step * 0.35, width: step * 0.7, y: high, height: Math.max(0, low - high) }));
        base += wall / SECOND;
      }
    });
    return drawing;
  }

  const trendNumbers = () => [["Run", "Started", ["Plays"], ["Proved"], ["Seconds"], ["Processor"], ["From start to end"]],
    runs.map((run) => [`${run.run}`, run.started.replace("T", " ").replace("Z", ""), run.plays, run.proved, [text(run.wall)],
      [text(run.cpu)], [run.took === null ? "no end" : text(run.took)]])];

  // ---- The page

  const scatterDetails = numbers("Seconds of both drivers", scatterNumbers);
  const named = used.map((driver) => [colour(driver), drivers[driver]]);
  const cards = [
    element("section", { class: "card part", id: "times", "aria-labelledby": "times-title" },
      element("h2", { id: "times-title" }, "Times"),
      element("p", { class: "note" }, "Seconds by the clock and of the processor, of the last play of each driver on each goal. An entry of several goals counts for each with an equal share. No proof is what verdicts other than Proved took."),
      driversTable()),
    plot("cactus", "Goals proved within a time", "Higher and further left is better.", drawCactus, legend([...named, ["best", "Best of all"]]), numbers("Seconds of the proofs of each driver, sorted", cactusNumbers)),
    plot("scatter", "Two drivers", "A square for each goal that both have played. Below the line the one at the left is faster.", drawScatter, legend(KINDS),
      element("p", { class: "choice" }, chooser("x", "Below"), " ", chooser("y", "At the left")), scatterDetails),
    element("section", { class: "card part", id: "slowest", "aria-labelledby": "slowest-title" },
      element("h2", { id: "slowest-title" }, "Slowest goals"), table("Seconds of all drivers together", ["Goal", ["Seconds"], "By driver"], slowest())),
    plot("trend", "Runs", "What the entries of each run took together.", drawTrend, legend(named), numbers("Recorded runs", trendNumbers)),
  ];
  const redraw = () => redraws.forEach((each) => each());
  document.getElementById("goals").before(...cards);
  redraw();
  window.addEventListener("resize", redraw);
};
