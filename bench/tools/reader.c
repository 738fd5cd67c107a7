/* Stands in for a reader: for each line "OBLIGATION GOAL" of its standard input prints a verdict
 * that depends only on the two numbers and on the arguments PROVED UNKNOWN SEED. The first two are
 * percentages; what they leave is disproved. generate.py knows the same rule. */

#include <stdio.h>
#include <stdlib.h>

int main(int argc, char **argv) {
  if (argc != 4)
    return 1;
  const unsigned long proved = strtoul(argv[1], NULL, 10);
  const unsigned long unknown = strtoul(argv[2], NULL, 10);
  const unsigned long seed = strtoul(argv[3], NULL, 10);
  unsigned long obligation;
  unsigned long goal;
  while (scanf("%lu %lu", &obligation, &goal) == 2) {
    const unsigned long draw = (obligation * 7919 + goal * 104729 + seed) % 100;
    puts(draw < proved ? "Proved" : draw < proved + unknown ? "Unknown" : "Disproved");
  }
  return 0;
}
