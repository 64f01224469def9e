// The event log and the events: lists that follow, with a filter and a stop.

const mostLines = 2000;

export class List {
  #box;
  #name;
  #filter;
  #stop;
  #lines = [];
  #rest = "";
  #decoder = new TextDecoder();

  constructor(name, connection) {
    this.#name = name;
    this.#box = document.querySelector(`#${name}`);
    this.#filter = document.querySelector(`[data-filter=${name}]`);
    this.#stop = document.querySelector(`[data-stop=${name}]`);
    this.#filter.addEventListener("input", () => this.#showAll());
    this.#stop.addEventListener("click", () => {
      const isStopped = this.#stop.getAttribute("aria-pressed") !== "true";
      this.#stop.setAttribute("aria-pressed", isStopped);
      if (!isStopped)
        this.#showAll();
    });
    connection.addEventListener(name, ({ detail }) => this.#add(detail));
    connection.addEventListener("open", () => this.#clear());
  }

  #clear() {
    this.#lines = [];
    this.#rest = "";
    this.#showAll();
  }

  #add(data) {
    if (new Uint8Array(data, 1, 1)[0] === 1)
      this.#clear();
    const text = this.#rest + this.#decoder.decode(new Uint8Array(data, 2), { stream: true });
    const lines = text.split("\n");
    this.#rest = lines.pop();
    this.#lines.push(...lines);
    this.#lines.splice(0, this.#lines.length - mostLines);
    if (!this.#isStopped())
      this.#show(lines);
  }

  #isStopped() {
    return this.#stop.getAttribute("aria-pressed") === "true";
  }

  #showAll() {
    this.#box.replaceChildren();
    this.#show(this.#lines);
  }

  #show(lines) {
    const wanted = this.#filter.value.toLowerCase();
    const rows = lines.slice(-mostLines).filter((line) => line.toLowerCase().includes(wanted)).map((line) => {
      const row = document.createElement("div");
      row.textContent = line.replace(/[\u0000-\u001f\u007f]/g, (c) => `\\x${c.charCodeAt(0).toString(16).padStart(2, "0")}`);
      return row;
    });
    const follows = this.#box.scrollTop + this.#box.clientHeight >= this.#box.scrollHeight - 30;
    this.#box.append(...rows);
    while (this.#box.childElementCount > mostLines)
      this.#box.firstElementChild.remove();
    if (follows)
      this.#box.scrollTop = this.#box.scrollHeight;
  }
}
