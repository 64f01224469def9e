// The screen: parts of frames drawn as they come, dimmed like the backlight.

// As the PNG files of `dravik-sim shot` have it: 5 or 6 bits spread over 8.
const spread = (value, bits) => {
  const most = (1 << bits) - 1;
  return Math.floor((value * 255 + (most >> 1)) / most);
};
const rgba = (red, green, blue) => (0xFF000000 | blue << 16 | green << 8 | red) >>> 0;

const colours = new Uint32Array(65536);
for (let value = 0; value < colours.length; ++value)
  colours[value] = rgba(spread(value >> 11, 5), spread(value >> 5 & 63, 6), spread(value & 31, 5));

function unpack(data, at, count, bytes, into) {
  if (bytes === 2) {
    const from = new Uint16Array(data, at, count);
    for (let i = 0; i < count; ++i)
      into[i] = colours[from[i]];
    return;
  }
  const from = new Uint8Array(data, at, count * bytes);
  for (let i = 0, byte = 0; i < count; ++i, byte += bytes)
    into[i] = rgba(from[byte + 2], from[byte + 1], from[byte]);
}

export class Screen {
  #canvas = document.querySelector("#screen");
  #context = this.#canvas.getContext("2d", { alpha: false, willReadFrequently: true });
  #frames = 0;

  constructor(connection) {
    connection.addEventListener("frame", ({ detail }) => {
      this.#draw(detail);
      connection.send("seen");
    });
    connection.addEventListener("state", ({ detail }) => this.#dim(detail));
    setInterval(() => this.#count(), 1000);
    document.querySelector("#zoom").addEventListener("click", ({ target }) => {
      const is_doubled = document.querySelector("#bezel").classList.toggle("doubled");
      target.setAttribute("aria-pressed", is_doubled);
    });
    document.querySelector("#save").addEventListener("click", () => this.#save());
  }

  #draw(data) {
    const view = new DataView(data);
    const bytes = view.getUint8(1);
    this.#resize(view.getUint16(2, true), view.getUint16(4, true));
    for (let at = 12; at < data.byteLength;) {
      const [x, y, width, height] = [0, 2, 4, 6].map((offset) => view.getUint16(at + offset, true));
      const part = this.#context.createImageData(width, height);
      unpack(data, at + 8, width * height, bytes, new Uint32Array(part.data.buffer));
      this.#context.putImageData(part, x, y);
      at += 8 + width * height * bytes;
    }
    ++this.#frames;
    this.#canvas.dispatchEvent(new CustomEvent("frame", { detail: view.getUint32(8, true) }));
  }

  #resize(width, height) {
    if (this.#canvas.width !== width || this.#canvas.height !== height) {
      this.#canvas.width = width;
      this.#canvas.height = height;
      this.#canvas.style.setProperty("--screen-width", width);
    }
  }

  #dim({ screen, backlight }) {
    const share = backlight.on ? backlight.brightness / backlight.most : 0;
    const light = share === 0 ? 0 : 0.25 + 0.75 * Math.min(share * 2, 1); // the first half of the scale is seen most
    this.#canvas.style.setProperty("--light", light.toFixed(3));
    document.querySelector("#backlight").textContent =
      screen.blank ? "screen blanked" : backlight.on ? `backlight ${Math.round(share * 100)} %` : "backlight off";
    this.#canvas.setAttribute("aria-label", `Screen of the board, ${screen.width} by ${screen.height} pixels`);
  }

  #count() {
    const text = `${this.#frames} frames per second`;
    const rate = document.querySelector("#rate");
    if (rate.textContent !== text)
      rate.textContent = text;
    this.#frames = 0;
  }

  #save() {
    this.#canvas.toBlob((blob) => {
      const link = document.createElement("a");
      link.href = URL.createObjectURL(blob);
      link.download = "screen.png";
      link.click();
      setTimeout(() => URL.revokeObjectURL(link.href), 1000);
    }, "image/png");
  }
}
