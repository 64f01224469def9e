// The live board's page.

import { connectCar } from "/car.js";
import { Connection } from "/connection.js";
import { connectControls, Setter } from "/controls.js";
import { connectFaults } from "/faults.js";
import { connectLines } from "/lines.js";
import { List } from "/lists.js";
import { Screen } from "/screen.js";
import { Sound } from "/sound.js";
import { connectTerminal } from "/terminal.js";

const connection = new Connection(location.hash.slice(1));
const setter = new Setter(connection);
const status = document.querySelector("#status");
const start = document.querySelector("#start");
let application = { state: "none", status: 0, name: "" };

const descriptions = {
  none: () => "no application",
  running: ({ name }) => `${name} running`,
  restarting: ({ name }) => `${name} restarting`,
  ended: ({ name, status: number }) => `${name} ended with status ${number}`,
};

function showStatus(connected) {
  status.dataset.connection = connected;
  status.dataset.application = application.state;
  status.textContent = connected === "open" ? descriptions[application.state](application)
    : location.hash === "" ? "no token; use the address that dravik-sim printed" : "no connection; trying again";
  start.hidden = connected !== "open" || application.state !== "ended";
}

let hiding = 0;
function showMessage(text) {
  const box = document.querySelector("#message");
  box.textContent = text;
  box.hidden = text === "";
  clearTimeout(hiding);
  hiding = setTimeout(() => box.hidden = true, 8000);
}

connection.addEventListener("open", () => showStatus("open"));
connection.addEventListener("lost", () => showStatus("lost"));
connection.addEventListener("application", ({ detail }) => {
  application = detail;
  showStatus("open");
});
connection.addEventListener("error", ({ detail }) => showMessage(detail.text));
connection.addEventListener("screen", ({ detail }) => showMessage(detail.error));
connection.addEventListener("state", ({ detail }) => {
  document.querySelector("#board").textContent = detail.board;
  document.title = `${detail.board}: live board`;
});
start.addEventListener("click", () => connection.send("start"));
addEventListener("hashchange", () => location.reload());

new Screen(connection);
connectControls(connection, setter);
connectLines(connection);
connectCar(connection, setter);
connectFaults(connection);
connectTerminal(connection);
new List("log", connection);
new List("events", connection);
globalThis.liveBoard = { sound: new Sound(connection) };
