/* Copies some bytes into memory that is too small for them, by a size that only the run tells: the
 * third level of _FORTIFY_SOURCE, and no lower one, ends the program. Else the allocator's own
 * rounding takes them in. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(int argc, char** argv) {
  char line[64];
  char* copy = malloc((size_t)argc);
  if (copy == NULL) return EXIT_FAILURE;
  memcpy(copy, argv[0], strnlen(argv[0], 16));
  snprintf(line, sizeof(line), "%.*s", argc, copy);
  puts(line);
  free(copy);
  return EXIT_SUCCESS;
}
