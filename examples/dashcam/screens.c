#include "screens.h"

#include "widgets.h"

const struct screen screens[] = {
    {"splash", "the logo", splash_draw, splash_refresh},
    {"home", "the road and the recording", home_draw, home_refresh},
    {"menu", "the main menu", menu_draw, status_clock},
    {"settings", "a page of settings", settings_draw, status_clock},
    {"playback", "the list of recordings", playback_draw, status_clock},
    {"gallery", "the photographs", gallery_draw, gallery_refresh},
    {"journey", "the stops of the journey", journey_draw, journey_refresh},
    {"languages", "the choice of the language", languages_draw, status_clock},
    {"sensor", "speed, acceleration and readings", sensor_draw, sensor_refresh},
    {"theme", "the theme colours", theme_draw, status_clock},
    {"shutdown", "the farewell", shutdown_draw, shutdown_refresh},
};
const int screen_count = (int)(sizeof screens / sizeof screens[0]);
