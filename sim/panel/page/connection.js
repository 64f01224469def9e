// The connection to the server: messages to those who want them, commands back, and again after a loss.

const kinds = { 1: "frame", 2: "sound", 3: "console", 4: "log", 5: "events" };
const pauses_ms = [100, 250, 500, 1000];

export class Connection extends EventTarget {
  #socket = null;
  #attempts = 0;

  constructor(token) {
    super();
    this.token = token;
    this.#connect();
  }

  /// A command that cannot be sent is lost: the state that the server sends later is what holds.
  send(command) {
    if (this.#socket?.readyState !== WebSocket.OPEN)
      return false;
    this.#socket.send(command);
    return true;
  }

  #connect() {
    const socket = new WebSocket(`ws://${location.host}/live?token=${encodeURIComponent(this.token)}`);
    socket.binaryType = "arraybuffer";
    socket.addEventListener("open", () => {
      this.#attempts = 0;
      this.#tell("open");
    });
    socket.addEventListener("message", (event) => this.#receive(event.data));
    socket.addEventListener("close", () => {
      this.#tell("lost");
      const pause_ms = pauses_ms[Math.min(this.#attempts++, pauses_ms.length - 1)];
      setTimeout(() => this.#connect(), pause_ms);
    });
    this.#socket = socket;
  }

  #receive(data) {
    if (typeof data === "string") {
      const message = JSON.parse(data);
      this.#tell(message.kind, message);
    } else {
      this.#tell(kinds[new Uint8Array(data, 0, 1)[0]], data);
    }
  }

  #tell(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }
}
