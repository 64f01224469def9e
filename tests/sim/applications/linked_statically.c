/* A program that no preload library reaches. */
int main(void) {
  return 0;
}
