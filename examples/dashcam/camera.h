/* The state of the camera, which depends on the board's, and the LED and backlight that show it. */
#ifndef CAMERA_H
#define CAMERA_H

enum camera_state {
  CAMERA_RECORDING,
  CAMERA_PARKED,
  CAMERA_HOT,
  CAMERA_CARD_FULL,
  CAMERA_CARD_MISSING,
  CAMERA_CARD_ERROR
};

enum camera_state camera_state(void);

/* Return whether the camera can record: while driving, and on guard while parked. */
int camera_is_recording(void);

/* Set the state from the last reading of the board, without a message. */
void camera_set_state(void);

/* Switch the lights on; they follow the state until camera_lights_off(). */
void camera_lights_on(void);
void camera_lights_off(void);

/* Set the backlight and the LED to the state and the brightness of the settings. */
void camera_show_lights(void);

/* Follow the board: log, show and announce a new state. Return 1 if the state changed. */
int camera_follow(void);

/* Detect an impact in the acceleration, once until it is at rest again, and save the recording of it. */
void camera_feel(void);

/* Announce that a monitor was attached or removed. Return 1 if so. */
int camera_follow_monitor(void);

/* Protect what is being recorded as an event. */
void camera_save_event(void);

/* Blink the LED while the camera records. */
void camera_blink(int is_lit);

#endif
