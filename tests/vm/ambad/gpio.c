// SPDX-License-Identifier: GPL-2.0
/* "/dev/ambad": levels of GPIO lines. */

#include "ambad.h"

#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/uaccess.h>

#define GET_GPIO 0x800464CBU
#define SET_GPIO 0x400464CBU
#define LINES 256

struct request {
  u32 line;
  u32 level;
};

static u8 levels[LINES];

int ambad_set_gpio(u32 line, u32 level) {
  if (line >= LINES)
    return -EINVAL;
  levels[line] = level != 0;
  return 0;
}

static long serve(struct file *file, unsigned int number, unsigned long argument) {
  struct request wanted;
  if (number != GET_GPIO && number != SET_GPIO)
    return -ENOTTY;
  if (copy_from_user(&wanted, (void __user *)argument, sizeof wanted) != 0)
    return -EFAULT;
  if (wanted.line >= LINES)
    return -EINVAL;
  if (number == SET_GPIO) {
    ambad_set_gpio(wanted.line, wanted.level);
    ambad_event("gpio: %u = %u", wanted.line, levels[wanted.line]);
    return 0;
  }
  wanted.level = levels[wanted.line];
  return copy_to_user((void __user *)argument, &wanted, sizeof wanted) == 0 ? 0 : -EFAULT;
}

static const struct file_operations operations = {.owner = THIS_MODULE, .unlocked_ioctl = serve};

static struct miscdevice device = {.minor = MISC_DYNAMIC_MINOR, .name = "ambad", .fops = &operations};

int ambad_start_gpio(void) {
  return misc_register(&device);
}

void ambad_stop_gpio(void) {
  misc_deregister(&device);
}

struct device *ambad_device(void) {
  return device.this_device;
}
