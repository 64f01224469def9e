// SPDX-License-Identifier: GPL-2.0
/* A driver for virtual machines that test libdravik: it interposes the devices of a dash camera's board that no
   emulator has. Tests set its inputs through "/proc/ambarella/control" and read what its devices were asked to do
   from "/proc/ambarella/events". */

#include "ambad.h"

#include <linux/module.h>

static const struct part {
  int (*start)(void);
  void (*stop)(void);
} parts[] = {
    {ambad_start_reports, ambad_stop_reports}, {ambad_start_gpio, ambad_stop_gpio},
    {ambad_start_i2c, ambad_stop_i2c},         {ambad_start_backlight, ambad_stop_backlight},
    {ambad_start_panel, ambad_stop_panel},     {ambad_start_codec, ambad_stop_codec},
};

static void stop(size_t count) {
  while (count > 0)
    parts[--count].stop();
}

static int __init start(void) {
  for (size_t i = 0; i < ARRAY_SIZE(parts); ++i) {
    const int result = parts[i].start();
    if (result != 0) {
      stop(i);
      return result;
    }
  }
  return 0;
}

static void __exit stop_all(void) {
  stop(ARRAY_SIZE(parts));
}

module_init(start);
module_exit(stop_all);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("Devices of a dash camera's board for virtual machines");
