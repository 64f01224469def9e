/* The recorder of the demonstration. A recording is a file of JPEG pictures, one after the other, two per
 * second: a camera would put its encoder here. */
#ifndef RECORDER_H
#define RECORDER_H

enum { RECORDED_PER_SECOND = 2, RECORDING_SECONDS = 180 };

/* The recorder writes to the card while it is open. */
void recorder_open(void);
void recorder_close(void);

/* Append a picture to the recording on the card; start the next recording when it is long enough. */
void record(void);

/* End the recording: the next picture starts another one. */
void end_recording(void);

/* Save the pictures of an event in the next of the five slots. Return 0, or -1 if there is no recorder or
 * the card rejects it. */
int record_event(void);

#endif
