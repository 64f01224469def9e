// SPDX-License-Identifier: GPL-2.0
/* I2C bus 0 with an accelerometer at address 0x18: 128 registers that hold what was written to them. */

#include "ambad.h"

#include <linux/i2c.h>
#include <linux/module.h>

#define ADDRESS 0x18
#define REGISTERS 128
#define AUTO_INCREMENT 0x80 /* in the number of a register: each further byte belongs to the next one */

/* Identity, new data on all axes, and 1000 mg on the third one. */
static u8 registers[REGISTERS] = {[0x0F] = 0x33, [0x27] = 0x0F, [0x2C] = 0x40, [0x2D] = 0x1F};
static u8 chosen;

int ambad_set_register(u32 number, u32 value) {
  if (number >= REGISTERS || value > 0xFF)
    return -EINVAL;
  registers[number] = (u8)value;
  return 0;
}

static u8 step(void) {
  const u8 number = chosen % REGISTERS;
  if ((chosen & AUTO_INCREMENT) != 0)
    chosen = AUTO_INCREMENT | ((number + 1) % REGISTERS);
  return number;
}

static void read_bytes(const struct i2c_msg *message) {
  for (u16 i = 0; i < message->len; ++i)
    message->buf[i] = registers[step()];
}

static void write_bytes(const struct i2c_msg *message) {
  if (message->len > 0)
    chosen = message->buf[0];
  for (u16 i = 1; i < message->len; ++i) {
    const u8 number = step();
    registers[number] = message->buf[i];
    ambad_event("i2c-0: 0x%02x register 0x%02x = 0x%02x", ADDRESS, number, message->buf[i]);
  }
}

static int transfer(struct i2c_adapter *bus, struct i2c_msg *messages, int count) {
  for (int i = 0; i < count; ++i) {
    if (messages[i].addr != ADDRESS)
      return -ENXIO;
    if ((messages[i].flags & I2C_M_RD) != 0)
      read_bytes(&messages[i]);
    else
      write_bytes(&messages[i]);
  }
  return count;
}

static u32 functionality(struct i2c_adapter *bus) {
  return I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL;
}

static const struct i2c_algorithm algorithm = {.master_xfer = transfer, .functionality = functionality};

static struct i2c_adapter bus = {.owner = THIS_MODULE, .algo = &algorithm, .nr = 0, .name = "ambad"};

int ambad_start_i2c(void) {
  return i2c_add_numbered_adapter(&bus);
}

void ambad_stop_i2c(void) {
  i2c_del_adapter(&bus);
}
