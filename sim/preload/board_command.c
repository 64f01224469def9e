/* Runs a command of the board in a process of its own, for a program that starts it as it would start the
   program of that name. The preload library, which comes with its environment, runs the commands. */

int dravik_sim_serve_command(int count, char **words) __attribute__((weak));

int main(int count, char **words) {
  return dravik_sim_serve_command != 0 ? dravik_sim_serve_command(count, words) : 127;
}
