// What the pages have in common: words, elements, bars.
const kelvaruneParts = (() => {
  "use strict";
  // Statuses by number, in the order in which they are shown: best first.
  const STATUSES = [
    { id: 3, key: "proved", name: "Proved" },
    { id: 2, key: "unreliablyProved", name: "Unreliably proved" },
    { id: 0, key: "unproved", name: "Unproved" },
    { id: 1, key: "unknown", name: "Unknown" },
    { id: 4, key: "disproved", name: "Disproved" },
  ];

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

  // Rounded, but never 100.0 before the last one and never 0.0 after the first.
  function percent(part, total) {
    if (part === 0 || part === total) return part === 0 ? "0.0" : "100.0";
    return (Math.min(999, Math.max(1, Math.round((part * 1000) / total))) / 10).toFixed(1);
  }

  // A bar has a part per kind of result: [class, name, count].
  const partsOf = (counts) => STATUSES.map((s) => [`s${s.id}`, s.name, counts[s.key] || 0]);

  function fillBar(bar, parts) {
    const present = parts.filter(([, , count]) => count);
    const words = present.map(([, name, count]) => `${name} ${count}`).join(", ") || "none";
    bar.setAttribute("role", "img");
    bar.setAttribute("aria-label", words);
    bar.title = words;
    for (const [kind, , count] of present) bar.append(element("span", { class: kind, style: `flex:${count} 0 0` }));
    return bar;
  }

  // The card of all goals.
  function showTotals(totals, figures) {
    byId("share").textContent = `${percent(totals.proved, totals.total)} %`;
    fillBar(byId("totals"), partsOf(totals));
    for (const status of STATUSES) {
      byId("legend").append(element("li", {}, element("span", { class: `dot s${status.id}` }),
        status.name, " ", element("b", {}, number(totals[status.key]))));
    }
    for (const [name, value] of figures)
      byId("figures").append(element("div", {}, element("dt", {}, name),
        element("dd", {}, typeof value === "number" ? number(value) : value)));
  }

  const timeText = (modified) => modified.replace("T", " ").replace("Z", " UTC");

  return { STATUSES, byId, number, plural, element, svg, percent, partsOf, fillBar, showTotals, timeText };
})();
