// The car: how it moves along x, y and z, and what hits it.

import { isTouched, onMove, touch } from "/controls.js";

const padLimit_mg = 2000;
const rest = { x: 0, y: 0, z: 1000 };
const hitLength_ms = 350;
const hitStrength_mg = 3500;
const sensorLimit_mg = 16000;

export function connectCar(connection, setter) {
  const inputs = Object.fromEntries(["x", "y", "z"].map((axis) => [axis, document.querySelector(`[name="accel.${axis}"]`)]));
  const pad = document.querySelector("#pad");
  const puck = document.querySelector("#puck");
  const now = { ...rest };

  const show = () => {
    const place = (value) => Math.max(-1, Math.min(1, value / padLimit_mg)) * (pad.clientWidth / 2 - 13);
    puck.style.transform = `translate(${place(now.x)}px, ${-place(now.y)}px)`;
    for (const [axis, input] of Object.entries(inputs))
      if (document.activeElement !== input || input.type === "range")
        input.value = now[axis];
    document.querySelector("#z-value").textContent = `${now.z} mg`;
  };
  const move = (change) => {
    for (const [axis, value] of Object.entries(change))
      now[axis] = Math.max(-sensorLimit_mg, Math.min(sensorLimit_mg, Math.round(value) || 0));
    touch(pad);
    setter.set("accel", `${now.x},${now.y},${now.z}`);
    show();
  };

  for (const [axis, input] of Object.entries(inputs))
    onMove(input, () => move({ [axis]: Number(input.value) }));

  const follow = (event) => {
    const box = pad.getBoundingClientRect();
    const share = (at, start, length) => Math.max(-1, Math.min(1, (at - start - length / 2) / (length / 2 - 13)));
    move({
      x: share(event.clientX, box.left, box.width) * padLimit_mg,
      y: -share(event.clientY, box.top, box.height) * padLimit_mg,
    });
  };
  pad.addEventListener("pointerdown", (event) => {
    pad.setPointerCapture(event.pointerId);
    follow(event);
  });
  pad.addEventListener("pointermove", (event) => pad.hasPointerCapture(event.pointerId) && follow(event));

  document.querySelector("#rest").addEventListener("click", () => move(rest));
  document.querySelector("#hit").addEventListener("click", () => {
    const before = { ...now };
    const begin = performance.now();
    const swing = () => {
      const share = (performance.now() - begin) / hitLength_ms;
      if (share >= 1)
        return move(before);
      const shock = hitStrength_mg * Math.exp(-3 * share) * Math.cos(4 * Math.PI * share);
      move({ x: before.x + shock / 3, y: before.y - shock, z: before.z + shock / 2 });
      setTimeout(swing, 20);
    };
    swing();
  });

  connection.addEventListener("state", ({ detail }) => {
    if (isTouched(pad))
      return;
    [now.x, now.y, now.z] = detail.accel;
    show();
  });
}
