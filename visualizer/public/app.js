// Draws the search state whole: first from the copy in the page, then from
// every event of the server.
import { Chessboard } from "/cm-chessboard/src/Chessboard.js";
import { Arrows, ARROW_TYPE } from "/cm-chessboard/src/extensions/arrows/Arrows.js";

const initial = JSON.parse(document.getElementById("initial-state").textContent);
// Built on the page's own position, the board is drawn before the page
// counts as loaded; later positions arrive by events.
const board = new Chessboard(document.getElementById("board"), {
  position: initial.fen,
  assetsUrl: "/cm-chessboard/assets/",
  style: { animationDuration: 0 },
  extensions: [{ class: Arrows }],
});
const $ = (id) => document.getElementById(id);

function grouped(n) {
  return n ? Math.round(n).toLocaleString("en-US") : "-";
}

function drawChart(points) {
  const svg = $("chart");
  if (points.length < 1) return (svg.innerHTML = "");
  const end = Math.max(1, points[points.length - 1].time);
  const maxDepth = Math.max(10, ...points.map((p) => p.depth));
  const x = (p) => ((p.time / end) * 396 + 2).toFixed(1);
  const score = points.map((p) => `${x(p)},${(60 - p.score * 5.5).toFixed(1)}`).join(" ");
  const depth = points.map((p) => `${x(p)},${(118 - (p.depth / maxDepth) * 114).toFixed(1)}`).join(" ");
  svg.innerHTML =
    `<line x1="0" y1="60" x2="400" y2="60" stroke="#ddd"/>` +
    `<polyline points="${depth}" fill="none" stroke="#c0632b" stroke-width="1.5"/>` +
    `<polyline points="${score}" fill="none" stroke="#2a7ab0" stroke-width="2"/>`;
}

function render(state) {
  board.setPosition(state.fen, false);
  board.removeArrows();
  const first = (state.bestmove || state.pv.split(" ")[0] || "").slice(0, 4);
  if (first.length === 4) board.addArrow(ARROW_TYPE.success, first.slice(0, 2), first.slice(2, 4));
  $("status").textContent = state.searching ? `searching ${state.rootCount} moves` : state.bestmove ? `best move ${state.bestmove}` : "idle";
  $("depth").textContent = state.depth || "-";
  $("score").textContent = (state.score || "-") + state.mark;
  $("nodes").textContent = grouped(state.nodes);
  $("nps").textContent = grouped(state.nps);
  $("time").textContent = state.time ? `${(state.time / 1000).toFixed(1)} s` : "-";
  $("pv").textContent = state.pv;
  $("current").textContent = state.line ? `now: ${state.line}` : "";
  $("roots").tBodies[0].innerHTML = state.rootMoves
    .map((r) => `<tr class="${r.move === state.currmove && state.searching ? "searching" : ""}"><td>${r.number || ""}</td>` +
      `<td>${r.move}</td><td>${r.depth || ""}</td><td>${r.score}</td></tr>`)
    .join("");
  const samples = $("samples");
  const follow = samples.scrollTop + samples.clientHeight >= samples.scrollHeight - 4;
  samples.replaceChildren(...state.samples.map((text) => Object.assign(document.createElement("li"), { textContent: text })));
  if (follow) samples.scrollTop = samples.scrollHeight;
  drawChart(state.chart);
}

render(initial);
new EventSource("/events").onmessage = (event) => render(JSON.parse(event.data));
