// Keys and GPIO lines: a line is high while its key is held.

const lineCount = 256;

// Holds a line with a pointer or a key of the keyboard. One that loses both is let go.
export function holdable(button, press) {
  let isHeld = false;
  const hold = (held) => {
    if (held === isHeld)
      return;
    isHeld = held;
    button.setAttribute("aria-pressed", held);
    press(held);
  };
  button.addEventListener("pointerdown", (event) => {
    if (event.button !== 0)
      return;
    button.setPointerCapture(event.pointerId);
    hold(true);
  });
  for (const name of ["pointerup", "pointercancel", "lostpointercapture", "blur"])
    button.addEventListener(name, () => hold(false));
  button.addEventListener("contextmenu", (event) => event.preventDefault());
  const isPress = (event) => event.key === " " || event.key === "Enter";
  button.addEventListener("keydown", (event) => {
    if (isPress(event)) {
      event.preventDefault();
      hold(true);
    }
  });
  button.addEventListener("keyup", (event) => isPress(event) && hold(false));
}

function makeLine(number) {
  const label = document.createElement("label");
  const input = document.createElement("input");
  input.type = "checkbox";
  input.name = `gpio.${number}`;
  input.tabIndex = number === 0 ? 0 : -1;
  input.setAttribute("aria-label", `GPIO line ${number}`);
  label.append(input, String(number));
  return label;
}

// One stop of the tabulator key for all lines; arrow keys move within.
function moveByArrows(group, inputs) {
  const steps = { ArrowLeft: -1, ArrowRight: 1, ArrowUp: -4, ArrowDown: 4, Home: -lineCount, End: lineCount };
  group.addEventListener("keydown", (event) => {
    const from = inputs.indexOf(event.target);
    if (from < 0 || !(event.key in steps))
      return;
    event.preventDefault();
    const next = inputs[Math.max(0, Math.min(lineCount - 1, from + steps[event.key]))];
    inputs[from].tabIndex = -1;
    next.tabIndex = 0;
    next.focus();
  });
}

// NEXT and OK by N and O, wherever no text is typed.
function connectKeyboard(buttons) {
  const of = { n: "next", o: "ok" };
  const send = (event, name) => {
    const key = of[event.key.toLowerCase()];
    const isText = event.target.closest?.("input, select, [contenteditable]");
    if (key === undefined || isText || event.ctrlKey || event.metaKey || event.altKey)
      return;
    buttons[key].dispatchEvent(new KeyboardEvent(name, { key: " " }));
  };
  document.addEventListener("keydown", (event) => send(event, "keydown"));
  document.addEventListener("keyup", (event) => send(event, "keyup"));
}

export function connectLines(connection) {
  // Not by the setter, which keeps the latest value alone: a short press has two.
  const set = (line, level) => connection.send(`set gpio.${line}=${level ? 1 : 0}`);
  const buttons = {};
  for (const button of document.querySelectorAll("[data-key]")) {
    holdable(button, (held) => set(button.dataset.line, held));
    buttons[button.dataset.key] = button;
  }
  connectKeyboard(buttons);

  const group = document.querySelector("#lines");
  const labels = Array.from({ length: lineCount }, (_, number) => makeLine(number));
  const inputs = labels.map((label) => label.firstChild);
  group.append(...labels);
  inputs.forEach((input, number) => input.addEventListener("change", () => set(number, input.checked)));
  moveByArrows(group, inputs);

  const number = document.querySelector("#line-number");
  const form = document.querySelector("#go-to-line");
  form.addEventListener("submit", (event) => event.preventDefault());
  number.addEventListener("input", () => inputs[number.value]?.scrollIntoView({ block: "nearest" }));
  let heldLine = 0;
  holdable(form.querySelector("button"), (held) => {
    heldLine = held ? number.value : heldLine;
    if (number.checkValidity())
      set(heldLine, held);
  });
  let isScrolled = false;
  connection.addEventListener("state", ({ detail }) => {
    inputs.forEach((input, line) => {
      input.checked = detail.gpio[line] === 1;
      labels[line].classList.toggle("used", line in detail.gpio);
    });
    for (const button of Object.values(buttons))
      button.classList.toggle("held", detail.gpio[button.dataset.line] === 1);
    if (!isScrolled)
      group.scrollTop = labels[60].offsetTop - group.offsetTop;
    isScrolled = true;
  });
}
