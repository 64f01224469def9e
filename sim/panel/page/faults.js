// The faults of the board: a switch for each, with its error.

const errors = ["EACCES", "EBUSY", "EFAULT", "EINTR", "EINVAL", "EIO", "EMFILE", "ENODEV", "ENOENT", "ENOMEM", "ENOSPC",
  "ENOTTY", "ENXIO", "EPERM", "EREMOTEIO", "EROFS"];
const short = (target) => target.replace(/^\/sys\/class\/backlight\/pwm-backlight\.0\//, "");

function makeError(name, label) {
  const select = document.createElement("select");
  select.setAttribute("aria-label", `Error of ${label}`);
  for (const error of errors.includes(name) ? errors : [...errors, name])
    select.append(new Option(error, error, false, error === name));
  return select;
}

export function connectFaults(connection) {
  const list = document.querySelector("#fault-list");
  const rows = new Map();

  const add = ([request, target, error]) => {
    const row = document.createElement("li");
    const label = document.createElement("label");
    const input = document.createElement("input");
    input.type = "checkbox";
    input.setAttribute("role", "switch");
    input.name = `fault.${request}.${target}`;
    label.title = `${request} ${target}`;
    label.append(input, ` ${request} ${short(target)}`);
    row.append(label);
    const select = error === "" ? null : makeError(error, label.title);
    if (select !== null)
      row.append(select);
    const order = () => connection.send(input.checked
      ? `fault on ${request} ${target} ${select?.value ?? ""}`.trimEnd() : `fault off ${request} ${target}`);
    input.addEventListener("change", order);
    select?.addEventListener("change", () => input.checked && order());
    list.append(row);
    rows.set(`${request} ${target}`, { input, select });
  };

  connection.addEventListener("state", ({ detail }) => {
    for (const fault of [...detail.usualFaults, ...detail.faults])
      if (!rows.has(`${fault[0]} ${fault[1]}`))
        add(fault);
    const ordered = new Map(detail.faults.map(([request, target, error]) => [`${request} ${target}`, error]));
    for (const [name, { input, select }] of rows) {
      input.checked = ordered.has(name);
      if (select !== null && errors.includes(ordered.get(name)))
        select.value = ordered.get(name);
    }
  });
}
