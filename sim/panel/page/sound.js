// Sound as it is played: frames of the recording, one after the other without a gap.

const rate_hz = 48000;
const lead_s = 0.06; // between the arrival of the first frames and their playing
const silence_dB = -60;

export class Sound {
  #connection;
  #context = null;
  #analyser = null;
  #end_s = 0;
  #button = document.querySelector("#listen");
  #meter = document.querySelector("#level");

  constructor(connection) {
    this.#connection = connection;
    this.#button.addEventListener("click", () => this.#toggle());
    connection.addEventListener("open", () => this.#isOn() && connection.send("sound on"));
    connection.addEventListener("sound", ({ detail }) => this.#play(detail));
    connection.addEventListener("state", ({ detail }) => this.#showVolume(detail.mixer));
  }

  /// For tests: what is heard at the moment.
  get analyser() {
    return this.#analyser;
  }

  #isOn() {
    return this.#button.getAttribute("aria-pressed") === "true";
  }

  async #toggle() {
    const isOn = !this.#isOn();
    this.#button.setAttribute("aria-pressed", isOn);
    this.#connection.send(isOn ? "sound on" : "sound off");
    if (!isOn)
      return this.#context?.suspend();
    if (this.#context === null)
      this.#prepare();
    await this.#context.resume();
    this.#measure();
  }

  #prepare() {
    this.#context = new AudioContext({ sampleRate: rate_hz });
    this.#analyser = this.#context.createAnalyser();
    this.#analyser.fftSize = 2048;
    this.#analyser.connect(this.#context.destination);
  }

  #play(data) {
    if (this.#context?.state !== "running")
      return;
    const samples = new Int16Array(data, 4);
    const frames = samples.length >> 1;
    const buffer = this.#context.createBuffer(2, frames, rate_hz);
    for (const channel of [0, 1]) {
      const into = buffer.getChannelData(channel);
      for (let i = 0; i < frames; ++i)
        into[i] = samples[2 * i + channel] / 32768;
    }
    const source = this.#context.createBufferSource();
    source.buffer = buffer;
    source.connect(this.#analyser);
    if (this.#end_s < this.#context.currentTime)
      this.#end_s = this.#context.currentTime + lead_s;
    source.start(this.#end_s);
    this.#end_s += frames / rate_hz;
    this.#measure();
  }

  // Runs only while something is to be heard.
  #isMeasuring = false;
  #measure() {
    if (this.#isMeasuring)
      return;
    this.#isMeasuring = true;
    const samples = new Float32Array(this.#analyser.fftSize);
    const look = () => {
      this.#analyser.getFloatTimeDomainData(samples);
      const power = samples.reduce((sum, sample) => sum + sample * sample, 0) / samples.length;
      this.#meter.value = Math.max(silence_dB, 10 * Math.log10(power + 1e-12));
      this.#isMeasuring = this.#end_s + 0.2 > this.#context.currentTime && this.#isOn();
      if (this.#isMeasuring)
        setTimeout(look, 50);
      else
        this.#meter.value = silence_dB;
    };
    look();
  }

  #showVolume({ gain, level }) {
    const text = gain === 0 ? "muted" : `${(20 * Math.log10(gain)).toFixed(0)} dB`;
    document.querySelector("#volume").textContent = `volume ${level}: ${text}`;
  }
}
