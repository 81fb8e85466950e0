// What the engine's feed says about the search, kept as one state object
// that the page draws whole. Lines it does not know are left alone.
import { Chess } from "chess.js";

const START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
const KEEP_SAMPLES = 120;
const KEEP_POINTS = 400;

export function newState() {
  return {
    fen: START, searching: false, rootCount: 0, whiteToMove: true,
    depth: 0, score: "", mark: "", pv: "", bestmove: "",
    time: 0, nodes: 0, nps: 0, currmove: "", rootMoves: [], samples: [], chart: [], line: "",
  };
}

// The board after "position startpos|fen <fen> [moves ...]"; null when the
// line does not make a position.
export function positionOf(words) {
  const movesAt = words.indexOf("moves");
  const end = movesAt < 0 ? words.length : movesAt;
  let fen;
  if (words[1] === "startpos") fen = START;
  else if (words[1] === "fen") fen = words.slice(2, end).join(" ");
  else return null;
  try {
    const game = new Chess(fen);
    for (const move of movesAt < 0 ? [] : words.slice(movesAt + 1))
      game.move({ from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] });
    return game.fen();
  } catch {
    return null;
  }
}

// The value of each named field of an info line: "depth 7 nodes 10" gives
// { depth: "7", nodes: "10" }; "score" takes two words, "pv" the rest.
function fields(words) {
  const out = {};
  for (let i = 1; i < words.length; ++i) {
    const word = words[i];
    if (word === "pv") { out.pv = words.slice(i + 1).join(" "); break; }
    if (word === "score") { out.score = words[i + 1] + " " + words[i + 2]; i += 2; continue; }
    if (word === "lowerbound" || word === "upperbound") { out.bound = word; continue; }
    out[word] = words[i + 1];
    ++i;
  }
  return out;
}

// "cp 33" or "mate -2" from the mover's side, as White sees it: "+0.33", "-#2".
export function whiteScore(score, whiteToMove) {
  const [kind, text] = score.split(" ");
  let value = Number(text);
  if (!whiteToMove) value = -value;
  const sign = value < 0 ? "-" : "+";
  return kind === "mate" ? `${sign}#${Math.abs(value)}` : `${sign}${(Math.abs(value) / 100).toFixed(2)}`;
}

// A bound is the mover's; White's view turns it round when Black moves.
function boundMark(bound, whiteToMove) {
  if (!bound) return "";
  return (bound === "lowerbound") === whiteToMove ? " ≥" : " ≤";
}

function pawns(score) {
  if (score.includes("#")) return score.startsWith("-") ? -10 : 10;
  return Math.max(-10, Math.min(10, Number(score)));
}

function note(state, text) {
  state.samples.push(text);
  if (state.samples.length > KEEP_SAMPLES) state.samples.shift();
}

// Applies one feed line; true when the state changed.
export function applyLine(state, line) {
  const words = line.trim().split(/\s+/);
  if (line.startsWith("Echo Input: ")) {
    const command = line.slice(12).trim().split(/\s+/);
    if (command[0] !== "position") return false;
    const fen = positionOf(command);
    if (!fen) return false;
    state.fen = fen;
    return true;
  }
  switch (words[0]) {
    case "newsearch":
      Object.assign(state, {
        searching: true, rootCount: Number(words[1]), whiteToMove: words[3] !== "btm", depth: 0, score: "",
        mark: "", pv: "", bestmove: "", currmove: "", rootMoves: [], chart: [], line: "", startedAt: Date.now(),
      });
      note(state, `New search: ${words[1]} root moves, ${words[3] === "btm" ? "Black" : "White"} to move`);
      return true;
    case "endsearch":
      state.searching = false;
      return true;
    case "bestmove":
      state.bestmove = words[1] || "";
      note(state, `Best move ${state.bestmove}${words[3] ? ", expecting " + words[3] : ""}`);
      return true;
    case "info":
      return applyInfo(state, words);
    default:
      return false;
  }
}

function applyInfo(state, words) {
  if (words[1] === "sample" || words[1] === "microsample" || words[1] === "string") {
    const text = words.slice(2).join(" ");
    if (words[1] === "microsample") state.line = text;
    else note(state, text);
    return true;
  }
  const f = fields(words);
  if (f.time !== undefined) state.time = Number(f.time);
  if (f.nodes !== undefined) state.nodes = Number(f.nodes);
  if (f.nps !== undefined) state.nps = Number(f.nps);
  else if (f.nodes !== undefined && state.time > 0) state.nps = Math.round((state.nodes * 1000) / state.time);
  if (f.currmove) {
    state.currmove = f.currmove;
    rootMove(state, f.currmove).number = Number(f.currmovenumber);
    state.rootMoves.sort((a, b) => (a.number || 999) - (b.number || 999));
  }
  if (f.pv !== undefined && f.score) {
    state.depth = Number(f.depth);
    state.score = whiteScore(f.score, state.whiteToMove);
    state.mark = boundMark(f.bound, state.whiteToMove);
    state.pv = f.pv;
    const row = rootMove(state, f.pv.split(" ")[0]);
    Object.assign(row, { depth: state.depth, score: state.score + state.mark });
    state.chart.push({ time: state.time, depth: state.depth, score: pawns(state.score) });
    if (state.chart.length > KEEP_POINTS) state.chart.shift();
  } else if (f.depth !== undefined && f.time === undefined) {
    state.depth = Math.max(state.depth, Number(f.depth));
  }
  return true;
}

function rootMove(state, move) {
  let row = state.rootMoves.find((r) => r.move === move);
  if (!row) state.rootMoves.push((row = { move, number: 0, depth: 0, score: "" }));
  return row;
}
