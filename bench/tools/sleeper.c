/* Stands in for a prover that takes its time: for each line "OBLIGATION GOAL" of its standard input
 * it sleeps 5 to 500 milliseconds, which depend only on the two numbers and on the argument SEED, and
 * prints the line. project.py knows the same rule. */

#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

int main(int argc, char **argv) {
  if (argc != 2)
    return 1;
  const unsigned long seed = strtoul(argv[1], NULL, 10);
  unsigned long obligation;
  unsigned long goal;
  while (scanf("%lu %lu", &obligation, &goal) == 2) {
    const unsigned long draw = (obligation * 7919 + goal * 104729 + seed * 15485863) % 496;
    const struct timespec time = {0, (long)(5 + draw) * 1000000};
    nanosleep(&time, NULL);
    printf("%lu %lu\n", obligation, goal);
  }
  return 0;
}
