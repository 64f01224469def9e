/* A library that has a call of the C library, by the name of CALL, and does nothing in it. */
int CALL(void);

int CALL(void) {
  return -1;
}
