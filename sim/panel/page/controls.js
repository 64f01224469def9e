// Inputs of the board: what is moved here is set there, and shown as the board has it.

// The latest value of each key, at most thirty times a second.
export class Setter {
  #connection;
  #waiting = new Map();
  #timer = 0;

  constructor(connection) {
    this.#connection = connection;
  }

  set(key, value) {
    this.#waiting.set(key, value);
    if (this.#timer === 0)
      this.#timer = setTimeout(() => this.#flush(), 0);
  }

  #flush() {
    const changes = [...this.#waiting].map(([key, value]) => `${key}=${value}`);
    this.#waiting.clear();
    this.#timer = 0;
    if (changes.length === 0)
      return;
    this.#connection.send(`set ${changes.join(" ")}`);
    this.#timer = setTimeout(() => this.#flush(), 33);
  }
}

// A control is not moved by the board while a hand is on it, and shortly after.
const touched = new WeakMap();
export const touch = (control) => touched.set(control, performance.now());
export const isTouched = (control) => performance.now() - (touched.get(control) ?? -1e9) < 600;

export function onMove(control, action) {
  for (const name of ["input", "change"])
    control.addEventListener(name, () => {
      touch(control);
      action(control);
    });
}

function connectSliders(setter, connection) {
  const named = (name) => document.querySelector(`[name="${name}"]`);
  const show = {
    temperature: (value) => `${Number(value).toFixed(1)} °C`,
    adc: (value) => `${value} (0x${Number(value).toString(16).padStart(3, "0")})`,
  };
  const temperature = named("temperature");
  const showTemperature = () =>
    document.querySelector("#temperature-value").textContent = show.temperature(temperature.value);
  onMove(temperature, () => {
    setter.set("temperature", temperature.value);
    showTemperature();
  });
  const channels = [0, 1, 2, 3].map((number) => named(`adc.${number}`));
  const showChannel = (number) =>
    document.querySelector(`#adc${number}-value`).textContent = show.adc(channels[number].value);
  channels.forEach((slider, number) => onMove(slider, () => {
    setter.set(`adc.${number}`, slider.value);
    showChannel(number);
  }));
  connection.addEventListener("state", ({ detail }) => {
    if (!isTouched(temperature))
      temperature.value = detail.temperature / 1000;
    showTemperature();
    channels.forEach((slider, number) => {
      if (!isTouched(slider))
        slider.value = detail.adc[number];
      showChannel(number);
    });
  });
}

function connectSockets(setter, connection) {
  const hdmi = document.querySelector("[name=hdmi]");
  const card = document.querySelector("[name=card]");
  const mount = document.querySelector("#mount");
  hdmi.addEventListener("change", () => setter.set("hdmi", hdmi.checked ? "on" : "off"));
  card.addEventListener("change", () => {
    touch(card);
    setter.set("card", card.value);
  });
  mount.addEventListener("click", () => setter.set("card", mount.dataset.action));
  connection.addEventListener("state", ({ detail }) => {
    hdmi.checked = detail.hdmi;
    if (!isTouched(card) && detail.card.slot !== "none")
      card.value = detail.card.slot;
    card.disabled = detail.card.slot === "none";
    document.querySelector("#card-state").textContent = detail.card.state;
    mount.dataset.action = detail.card.mounted ? "umount" : "mount";
    mount.textContent = detail.card.mounted ? "Unmount" : "Mount";
    mount.disabled = !detail.card.mounted && !["in", "locked"].includes(detail.card.slot);
    const lamp = document.querySelector("[data-led]");
    lamp.dataset.led = detail.led;
    lamp.setAttribute("aria-label", `LED ${detail.led}`);
    document.querySelector("#led-name").textContent = `LED ${detail.led}`;
  });
}

export function connectControls(connection, setter) {
  connectSliders(setter, connection);
  connectSockets(setter, connection);
}
