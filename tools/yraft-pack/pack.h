/* Packs file records into TLV blocks by way of a queue store, as many blocks as it takes. */
#ifndef PACK_H
#define PACK_H

#include <stdbool.h>
#include <stdint.h>

#include "tally.h"
#include "yrafiletransfer.h"

typedef struct Packer {
  YraRW* store;     /* owned; its file-info queue holds the records of the next block */
  bool printsItems; /* a line for every item, not just for every block */
  uint64_t blocks;  /* taken out so far */
  Tally packed;     /* what their items say */
  bool consistent;  /* every block's header agrees with its items */
} Packer;

/* Each answers a result code of yraft.h, and has told about it on stderr when it is not 0. */
unsigned int PackerOpen(Packer* packer, bool printsItems);
/* Queues a file. When its record would make the block too long, the block is taken out first. */
unsigned int PackerAdd(Packer* packer, const char* path, uint64_t size);
/* Takes out what is still queued. */
unsigned int PackerFinish(Packer* packer);
void PackerClose(Packer* packer);

#endif
