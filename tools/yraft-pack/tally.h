/* What the tree and the blocks are compared by. */
#ifndef TALLY_H
#define TALLY_H

#include <stdint.h>

typedef struct Tally {
  uint64_t files;
  uint64_t bytes; /* of the files' contents */
} Tally;

#endif
