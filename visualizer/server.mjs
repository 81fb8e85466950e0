// The live web view of a search: reads the engine's feed on standard input,
// keeps what it says in one state, and serves a page that follows it through
// server-sent events. Init commands before "Init Complete": "port N" (0 picks
// a free one), "host H", and "logdir D", where quorl-webview.log is written.
import { createServer } from "node:http";
import { appendFileSync, readFile } from "node:fs";
import { dirname, extname, join, normalize, sep } from "node:path";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";
import { applyLine, newState } from "./feed.mjs";

const here = dirname(fileURLToPath(import.meta.url));
const settings = { port: 8765, host: "127.0.0.1", logFile: "" };
const state = newState();
const listeners = new Set();
let server = null;

function log(text) {
  const line = `${new Date().toISOString()} ${text}\n`;
  if (settings.logFile) appendFileSync(settings.logFile, line);
  else process.stderr.write(line);
}

function initCommand(line) {
  const [word, ...rest] = line.trim().split(/\s+/);
  const value = line.trim().slice(word.length).trim();
  if (word === "port" && /^\d+$/.test(rest[0] || "")) settings.port = Number(rest[0]);
  else if (word === "host" && value) settings.host = value;
  else if (word === "logdir") settings.logFile = join(value || ".", "quorl-webview.log");
  else log(`init command not known: ${line}`);
}

// Browsers are sent the whole state at most ten times a second.
let pending = null;
function publish() {
  if (pending) return;
  pending = setTimeout(() => {
    pending = null;
    const data = `data: ${JSON.stringify(state)}\n\n`;
    for (const response of listeners) response.write(data);
  }, 100);
}

const TYPES = { ".html": "text/html", ".js": "text/javascript", ".mjs": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml" };

// Files of the page and of the board widget; nothing outside those folders.
function serveFile(response, root, path) {
  const file = normalize(join(root, path));
  if (!file.startsWith(root + sep)) return notFound(response);
  readFile(file, (error, body) => {
    if (error) return notFound(response);
    response.writeHead(200, { "Content-Type": TYPES[extname(file)] || "application/octet-stream" });
    response.end(body);
  });
}

function notFound(response) {
  response.writeHead(404, { "Content-Type": "text/plain" });
  response.end("not found\n");
}

function handle(request, response) {
  const path = decodeURIComponent(new URL(request.url, "http://localhost").pathname);
  if (path === "/events") {
    response.writeHead(200, { "Content-Type": "text/event-stream", "Cache-Control": "no-cache", Connection: "keep-alive" });
    response.write(`data: ${JSON.stringify(state)}\n\n`);
    listeners.add(response);
    request.on("close", () => listeners.delete(response));
  } else if (path === "/state") {
    response.writeHead(200, { "Content-Type": "application/json" });
    response.end(JSON.stringify(state));
  } else if (path === "/") {
    // The state rides in the page, so that it shows before the first event.
    readFile(join(here, "public/index.html"), "utf8", (error, page) => {
      if (error) return notFound(response);
      response.writeHead(200, { "Content-Type": "text/html" });
      response.end(page.replace("{{STATE}}", JSON.stringify(state).replace(/</g, "\\u003c")));
    });
  } else if (path.startsWith("/cm-chessboard/")) {
    serveFile(response, join(here, "node_modules/cm-chessboard"), path.slice(15));
  } else {
    serveFile(response, join(here, "public"), path);
  }
}

function listen() {
  if (server) return;
  server = createServer(handle);
  server.on("error", (error) => {
    log(`cannot serve on ${settings.host}:${settings.port}: ${error.message}`);
    process.exit(1);
  });
  server.listen(settings.port, settings.host, () => {
    log(`serving on http://${settings.host}:${server.address().port}/`);
  });
}

let initDone = false;
const input = createInterface({ input: process.stdin, crlfDelay: Infinity });
input.on("line", (line) => {
  if (!initDone) {
    if (line.trim() === "Init Complete") {
      initDone = true;
      listen();
    } else initCommand(line);
    return;
  }
  if (line.trim() === "quit") {
    log("quit");
    process.exit(0);
  }
  if (applyLine(state, line)) publish();
});
// An engine that went without "quit" ends the view as well.
input.on("close", () => {
  log("end of input");
  process.exit(0);
});
