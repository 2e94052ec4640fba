/* Visits the regular files of a directory tree. */
#ifndef TREE_H
#define TREE_H

#include <stdbool.h>
#include <stdint.h>

#include "tally.h"

/* Takes a file; answers false to end the walk. The path is the visitor's for the call only. */
typedef bool (*TreeVisitor)(void* context, const char* path, uint64_t size);

typedef struct TreeReport {
  Tally found;
  uint64_t others; /* devices, sockets, pipes: no files to transfer */
  uint64_t errors; /* what could not be read, each told on stderr */
  bool ended;      /* by the visitor */
} TreeReport;

/* Visits every regular file below `root` in the order of the names. Links are followed; one that
 * leads back to a folder it lies in is an error, and so is one that leads nowhere. */
TreeReport TreeWalk(const char* root, TreeVisitor visitor, void* context);

#endif
