/* The state of the camera, which follows from the board's, and the LED and the backlight that show it. */
#ifndef CAMERA_H
#define CAMERA_H

enum camera_state {
  CAMERA_RECORDING,
  CAMERA_PARKED,
  CAMERA_CARD_FULL,
  CAMERA_CARD_MISSING,
  CAMERA_CARD_ERROR
};

enum camera_state camera_state(void);

/* Whether a recording is under way: on the road, and on guard while parked. */
int camera_is_recording(void);

/* Take the state from the board as it was at the last look, without a word. */
void camera_set_state(void);

/* The lights on; they follow the state until camera_lights_off(). */
void camera_lights_on(void);
void camera_lights_off(void);

/* Follows the board: a new state is told, shown and spoken. Gives 1 when it is another. */
int camera_follow(void);

/* Notices an impact in the board's movement, once until it rests again. */
void camera_feel(void);

/* The LED blinks while the camera records. */
void camera_blink(int is_lit);

#endif
