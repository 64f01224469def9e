// The serial console: what the port sends, and what is typed. The tabulator key leaves it; Ctrl-I is typed.

const mostCharacters = 40000;
const keys = {
  Enter: "\r", Backspace: "\x7f", Escape: "\x1b", Delete: "\x1b[3~", ArrowUp: "\x1b[A", ArrowDown: "\x1b[B",
  ArrowRight: "\x1b[C", ArrowLeft: "\x1b[D", Home: "\x1b[H", End: "\x1b[F",
};

// Lines of text and a place in the last one: enough for line editing. Sequences of colours and the like are dropped.
class Lines {
  #text = "";
  #line = "";
  #column = 0;
  #sequence = "";

  clear() {
    this.#text = this.#line = this.#sequence = "";
    this.#column = 0;
  }

  get text() {
    return this.#text + this.#line;
  }

  add(text) {
    for (const character of text)
      this.#put(character);
    this.#text = this.#text.slice(-mostCharacters);
  }

  #put(character) {
    if (this.#sequence !== "" || character === "\x1b")
      return this.#addToSequence(character);
    if (character === "\n") {
      this.#text += `${this.#line}\n`;
      this.#line = "";
      this.#column = 0;
    } else if (character === "\r") {
      this.#column = 0;
    } else if (character === "\b") {
      this.#column = Math.max(0, this.#column - 1);
    } else if (character === "\t" || character >= " ") {
      this.#line = this.#line.slice(0, this.#column) + character + this.#line.slice(this.#column + character.length);
      this.#column += character.length;
    }
  }

  #addToSequence(character) {
    this.#sequence += character;
    const isWhole = this.#sequence[1] === "[" ? /[@-~]$/.test(this.#sequence.slice(2)) : this.#sequence.length === 2;
    if (!isWhole && this.#sequence.length < 32)
      return;
    if (this.#sequence === "\x1b[K")
      this.#line = this.#line.slice(0, this.#column);
    this.#sequence = "";
  }
}

export function connectTerminal(connection) {
  const box = document.querySelector("#console");
  const lines = new Lines();
  let decoder = new TextDecoder();
  let isDue = false;

  const show = () => {
    isDue = false;
    const follows = box.scrollTop + box.clientHeight >= box.scrollHeight - 30;
    box.textContent = lines.text;
    if (follows)
      box.scrollTop = box.scrollHeight;
    if (document.activeElement === box)
      getSelection().selectAllChildren(box), getSelection().collapseToEnd();
  };
  const showSoon = () => {
    if (!isDue)
      setTimeout(show, 30);
    isDue = true;
  };

  connection.addEventListener("open", () => {
    lines.clear();
    decoder = new TextDecoder();
    showSoon();
  });
  connection.addEventListener("console", ({ detail }) => {
    if (new Uint8Array(detail, 1, 1)[0] === 1)
      lines.clear();
    lines.add(decoder.decode(new Uint8Array(detail, 2), { stream: true }));
    showSoon();
  });

  const type = (text) => text !== "" && connection.send(`type ${text}`);
  box.addEventListener("keydown", (event) => {
    if (event.isComposing || event.metaKey || event.altKey)
      return;
    const isLetter = event.ctrlKey && !event.shiftKey && /^[a-z]$/i.test(event.key);
    if (isLetter && !(/^[cv]$/i.test(event.key) && (event.key.toLowerCase() === "v" || !getSelection().isCollapsed))) {
      event.preventDefault();
      type(String.fromCharCode(event.key.toUpperCase().charCodeAt(0) - 64));
    } else if (event.key in keys) {
      event.preventDefault();
      type(keys[event.key]);
    }
  });
  box.addEventListener("beforeinput", (event) => {
    if (event.inputType === "insertCompositionText")
      return;
    event.preventDefault();
    if (event.inputType.startsWith("insert"))
      type((event.data ?? event.dataTransfer?.getData("text/plain") ?? "\n").replaceAll("\n", "\r"));
    else if (event.inputType.startsWith("delete"))
      type("\x7f");
  });
  box.addEventListener("compositionend", (event) => {
    type(event.data);
    showSoon();
  });
}
