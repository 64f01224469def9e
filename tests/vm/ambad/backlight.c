// SPDX-License-Identifier: GPL-2.0
/* "/sys/class/backlight/pwm-backlight.0". */

#include "ambad.h"

#include <linux/backlight.h>
#include <linux/err.h>

static int last_brightness = -1;
static int last_power = -1;

static int update(struct backlight_device *device) {
  if (device->props.brightness != last_brightness)
    ambad_event("backlight: %d", device->props.brightness);
  if (device->props.power != last_power)
    ambad_event("backlight: %s", device->props.power == 0 ? "on" : "off");
  last_brightness = device->props.brightness;
  last_power = device->props.power;
  return 0;
}

static const struct backlight_ops operations = {.update_status = update};

static struct backlight_device *device;

int ambad_start_backlight(void) {
  const struct backlight_properties properties = {
      .type = BACKLIGHT_RAW, .max_brightness = 1000, .brightness = 1000};
  last_brightness = properties.brightness;
  last_power = properties.power;
  device = backlight_device_register("pwm-backlight.0", ambad_device(), NULL, &operations, &properties);
  return PTR_ERR_OR_ZERO(device);
}

void ambad_stop_backlight(void) {
  backlight_device_unregister(device);
}
