// How the page of a profile looks and what its script does. Without the script only the search is
// missing.

#include "tools/qvcheck/profile_page_parts.h"

namespace qv::check {

std::string pageStyle() {
  return R"css(:root {
  color-scheme: light dark;
  --page: #f6f7f9; --card: #fff; --line: #dfe3e8; --ink: #1d2530; --quiet: #5b6673;
  --link: #0b5cad; --focus: #c2410c; --chip: #eceff3; --row: #f6f8fa;
  --blue: #dcebfb; --blue-ink: #0b4a8b; --green: #dcf3e4; --green-ink: #11603a;
  --amber: #fdf0d5; --amber-ink: #7a4a05; --fill: #6ea3da; --type: #33475e; --hatch: #b9d2ec;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #12161b; --card: #1a2027; --line: #303945; --ink: #e4e9ef; --quiet: #98a4b3;
    --link: #7db7f2; --focus: #fdba74; --chip: #2a333e; --row: #20272f;
    --blue: #173a5e; --blue-ink: #b5d8fb; --green: #163f2b; --green-ink: #a9e5c4;
    --amber: #47340f; --amber-ink: #f6d596; --fill: #3d7ab8; --type: #8fa6bf; --hatch: #2b4a6b;
  }
}
* { box-sizing: border-box; }
html { scroll-padding-top: 4.5rem; }
body {
  margin: 0; background: var(--page); color: var(--ink);
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", sans-serif;
}
a { color: var(--link); text-decoration-thickness: 1px; text-underline-offset: 0.15em; }
a:focus-visible, input:focus-visible, .wide:focus-visible {
  outline: 3px solid var(--focus); outline-offset: 2px; border-radius: 3px;
}
code { font: 0.9em/1.4 ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace; }
.skip { position: absolute; left: -999rem; }
.skip:focus { left: 1rem; top: 0.6rem; background: var(--card); padding: 0.2rem 0.6rem; }
.bar {
  position: sticky; top: 0; z-index: 2; display: flex; flex-wrap: wrap; gap: 0.4rem 1.2rem;
  align-items: center; padding: 0.6rem 1.5rem; background: var(--card);
  border-bottom: 1px solid var(--line);
}
.sections { display: flex; flex-wrap: wrap; gap: 0.2rem 1.1rem; font-weight: 600; }
.sections a { text-decoration: none; }
.sections a:hover { text-decoration: underline; }
search { margin-left: auto; display: flex; gap: 0.6rem; align-items: center; }
[hidden] { display: none !important; }
#query {
  font: inherit; color: inherit; background: var(--page); border: 1px solid var(--line);
  border-radius: 6px; padding: 0.25rem 0.6rem; width: 15rem; min-width: 0;
}
#found { color: var(--quiet); font-size: 0.85rem; white-space: nowrap; }
.side { display: none; }
main { max-width: 60rem; margin: 0 auto; padding: 1.5rem; }
h1 { font-size: 2rem; line-height: 1.2; margin: 0.5rem 0; }
h2 { font-size: 1.4rem; margin: 2.5rem 0 0.8rem; }
h3 { font-size: 1.1rem; margin: 0; overflow-wrap: anywhere; }
h4 { font-size: 0.8rem; margin: 0; color: var(--quiet); font-weight: 600; }
.lead { font-size: 1.1rem; margin: 0 0 1.2rem; color: var(--quiet); }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(8rem, 1fr)); gap: 0.8rem; }
.tiles a {
  background: var(--card); border: 1px solid var(--line); border-radius: 10px;
  padding: 0.8rem 1rem; color: inherit; text-decoration: none;
}
.tiles a:hover { border-color: var(--link); }
.tiles b { display: block; font-size: 1.7rem; line-height: 1.2; color: var(--link); }
.quiet { color: var(--quiet); }
p.quiet { margin: 0.6rem 0; }
.card {
  background: var(--card); border: 1px solid var(--line); border-radius: 10px;
  padding: 1rem 1.2rem; margin: 0 0 1rem;
}
.card:target { border-color: var(--link); box-shadow: 0 0 0 1px var(--link); }
.self { color: var(--quiet); text-decoration: none; font-weight: 400; opacity: 0; }
.card:hover .self, .self:focus { opacity: 1; }
.chips { margin: 0.3rem 0 0; display: flex; flex-wrap: wrap; gap: 0.3rem; }
.chip {
  display: inline-block; background: var(--chip); border-radius: 5px; padding: 0 0.45rem;
  font-size: 0.8rem; line-height: 1.5rem; white-space: nowrap;
}
.chip.ip { background: var(--blue); color: var(--blue-ink); }
.chip.btle { background: var(--green); color: var(--green-ink); }
.chip.required { background: var(--blue); color: var(--blue-ink); }
.chip.none { background: var(--amber); color: var(--amber-ink); }
.wide { overflow-x: auto; margin: 0.8rem 0; }
table { border-collapse: collapse; font-size: 0.92rem; }
th, td { text-align: left; vertical-align: top; padding: 0.3rem 1.2rem 0.3rem 0; }
.facts th[scope=row] { color: var(--quiet); font-weight: 500; white-space: nowrap; }
.facts thead th { color: var(--quiet); font-weight: 600; }
.facts td { overflow-wrap: anywhere; }
.facts .uuid { color: var(--quiet); }
.short { background: var(--chip); border-radius: 5px; padding: 0.05rem 0.4rem; font-weight: 600; }
.list { width: 100%; }
.list th, .list td { padding: 0.4rem 0.8rem; border-bottom: 1px solid var(--line); }
.list thead th { color: var(--quiet); font-size: 0.8rem; font-weight: 600; white-space: nowrap; }
.list tbody th { font-weight: 500; }
.list tbody tr:last-child > * { border-bottom: 0; }
.list tbody tr:hover { background: var(--row); }
.listing th:first-child { width: 50%; }
.listing th, .listing td { width: 25%; }
.index { border: 1px solid var(--line); border-radius: 10px; background: var(--card); }
.glance td { white-space: nowrap; }
.card > :last-child { margin-bottom: 0; }
.used { margin-top: 0.8rem; font-size: 0.92rem; }
.used h4 { display: inline; margin-right: 0.5rem; }
.used ul { display: inline; margin: 0; padding: 0; }
.used li { display: inline; }
.used li:not(:last-child)::after { content: ";"; color: var(--quiet); margin-right: 0.35rem; }
.layout { margin: 0.9rem 0; font-size: 0.72rem; overflow: hidden; }
.field { display: grid; grid-template-columns: repeat(18, 1fr); position: relative; margin-top: 3px; }
.field > span { height: 1.6rem; line-height: 1.6rem; min-width: 0; }
.byte {
  text-align: center; color: var(--card); background: var(--type); border-right: 1px solid var(--card);
  font-family: ui-monospace, Menlo, Consolas, "DejaVu Sans Mono", monospace;
}
.byte.length { opacity: 0.75; }
.value { background: var(--fill); border-right: 1px solid var(--card); }
.open {
  background: repeating-linear-gradient(135deg, var(--hatch) 0 4px, transparent 4px 8px);
  border: 1px solid var(--fill); border-left-width: 0;
}
.byte + .open { border-left-width: 1px; }
.torn {
  border-right: 0;
  clip-path: polygon(0 0, 100% 0, calc(100% - 8px) 17%, 100% 34%, calc(100% - 8px) 50%, 100% 67%,
    calc(100% - 8px) 84%, 100% 100%, 0 100%);
}
.label {
  position: absolute; left: calc(100% / 18 * 2 + 0.45rem); top: 0; max-width: calc(100% - 6rem);
  overflow: hidden; text-overflow: ellipsis; white-space: nowrap; font-weight: 600;
  text-shadow: 0 0 3px var(--card), 0 0 3px var(--card), 0 0 3px var(--card), 0 0 3px var(--card);
}
.ruler { color: var(--quiet); }
.ruler > span { border-left: 1px solid var(--line); padding-left: 3px; overflow: hidden; }
@media (min-width: 70rem) {
  .side {
    display: block; position: fixed; top: 3.4rem; bottom: 0; left: 0; width: 17rem;
    overflow-y: auto; padding: 0.5rem 1.5rem 2rem; border-right: 1px solid var(--line);
    font-size: 0.9rem;
  }
  .side h2 { font-size: 0.8rem; margin: 1.2rem 0 0.3rem; }
  .side h2 a { color: var(--quiet); text-decoration: none; }
  .side ul { list-style: none; margin: 0; padding: 0; }
  .side li a {
    display: block; padding: 0.12rem 0; text-decoration: none; color: inherit;
    overflow-wrap: anywhere;
  }
  .side li a:hover { color: var(--link); }
  main { margin-left: 17rem; padding: 1.5rem 2.5rem; }
}
@media (max-width: 40rem) {
  html { scroll-padding-top: 6.5rem; }
  .bar { padding: 0.6rem 1rem; }
  search { margin-left: 0; width: 100%; }
  #query { flex: 1; }
  main { padding: 1rem; }
  h1 { font-size: 1.6rem; }
  .card { padding: 0.9rem; }
  .facts, .facts tbody { display: block; }
  .facts thead { display: none; }
  .facts tr { display: grid; grid-template-columns: 6.5rem minmax(0, 1fr); padding: 0.15rem 0; }
  .facts th, .facts td { padding: 0; }
  .facts th { grid-row: 1 / span 2; }
  .facts td { grid-column: 2; }
  .facts th[scope=row] { white-space: normal; }
  .facts .ip::before { content: "IP: "; color: var(--quiet); }
  .facts .btle::before { content: "BTLE: "; color: var(--quiet); }
  .list th, .list td { padding: 0.4rem 0.6rem 0.4rem 0; }
  .glance th, .glance td { padding: 0.4rem 0.5rem; }
  .glance td:nth-child(5) { white-space: normal; min-width: 7rem; }
  .list td > .quiet { white-space: nowrap; }
  .glance th:nth-child(4), .glance td:nth-child(4),
  .glance th:nth-child(6), .glance td:nth-child(6) { display: none; }
  .sections { font-size: 0.88rem; gap: 0.2rem 0.7rem; }
  .ruler { font-size: 0.52rem; }
  .ruler > span { padding-left: 1px; }
}
@media print {
  :root {
    --page: #fff; --card: #fff; --line: #bbb; --ink: #000; --quiet: #444; --link: #000;
    --chip: #eee; --blue: #ddd; --blue-ink: #000; --green: #eee; --green-ink: #000;
  }
  .bar, .side, .self { display: none; }
  main { margin: 0; padding: 0; max-width: none; }
  .card { break-inside: avoid; }
  .wide { overflow: visible; }
  .byte, .value, .open, .chip { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)css";
}

std::string pageScript() {
  return R"js("use strict";
(() => {
  const query = document.getElementById("query");
  const cards = [...document.querySelectorAll(".card")].map(
    card => ({ card, text: card.textContent.toLowerCase() }));
  const pointers = [...document.querySelectorAll("[data-for]")];
  document.getElementById("search").hidden = false;
  const search = () => {
    const words = query.value.toLowerCase().split(/\s+/).filter(Boolean);
    const shown = new Set();
    for (const { card, text } of cards) {
      card.hidden = !words.every(word => text.includes(word));
      if (!card.hidden) shown.add(card.id);
    }
    for (const pointer of pointers) pointer.hidden = !shown.has(pointer.dataset.for);
    for (const section of document.querySelectorAll("main > section")) {
      section.hidden = words.length > 0 && !section.querySelector(".card:not([hidden])");
    }
    document.getElementById("nothing").hidden = shown.size > 0 || words.length === 0;
    document.getElementById("found").textContent =
      words.length > 0 ? `${shown.size} of ${cards.length}` : "";
  };
  query.addEventListener("input", search);
  document.addEventListener("keydown", event => {
    if (event.key === "/" && document.activeElement !== query) {
      event.preventDefault();
      query.focus();
    } else if (event.key === "Escape" && document.activeElement === query) {
      query.value = "";
      search();
    }
  });
  addEventListener("hashchange", () => {
    const target = document.getElementById(decodeURIComponent(location.hash.slice(1)));
    if (target && target.hidden) {
      query.value = "";
      search();
      target.scrollIntoView();
    }
  });
})();
)js";
}

}  // namespace qv::check
