/* Stands in for a writer: creates the file named by -o with one line "OBLIGATION GOAL" for each -a,
 * and takes all other arguments as they come. */

#include <stdio.h>
#include <string.h>

int main(int argc, char **argv) {
  const char *path = NULL;
  for (int i = 1; i + 1 < argc; ++i) {
    if (strcmp(argv[i], "-o") == 0)
      path = argv[i + 1];
  }
  FILE *file = path ? fopen(path, "w") : NULL;
  if (!file)
    return 1;
  for (int i = 1; i + 2 < argc; ++i) {
    if (strcmp(argv[i], "-a") == 0)
      fprintf(file, "%s %s\n", argv[i + 1], argv[i + 2]);
  }
  return fclose(file) == 0 ? 0 : 1;
}
