#include "pack.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "Terminal.h"

static unsigned int Told(const char* function, unsigned int result) {
  if (result != YRAFT_STATUS_SUCCESS) {
    fprintf(stderr, "yraft-pack: %s answered %u\n", function, result);
  }
  return result;
}

unsigned int PackerOpen(Packer* packer, bool printsItems) {
  memset(packer, 0, sizeof(*packer));
  packer->printsItems = printsItems;
  packer->consistent = true;
  return Told("YraftRWCreate", YraftRWCreate(&packer->store));
}

void PackerClose(Packer* packer) { YraftRWDestory(&packer->store); }

/* A name must not break the line that shows it, nor steer the terminal. */
static void PrintName(const char* name) {
  while (*name != '\0') {
    const size_t control = ControlLength(name);
    putchar(control > 0 ? '?' : *name);
    name += control > 0 ? control : 1;
  }
  putchar('\n');
}

/* Answers what the items of a block say; one item less for each that is no file record, or does not
 * have its number in the block. */
static Tally ReadBlock(const YRAFT_TLV_BLOCKS* block, size_t length, bool print) {
  Tally tally = {0, 0};
  YRAFT_TLV_WALK walk;
  const YRAFT_TLV_ITEM* item;
  Yraft_TlvBlocksWalk(&walk, block, length);
  while ((item = Yraft_TlvBlocksNext(&walk)) != NULL) {
    const YRAFT_FILEINFO_ITEM* file = Yraft_TlvItemFileInfo(item);
    if (file == NULL || file->fileContext != tally.files) continue;
    ++tally.files;
    tally.bytes += file->fileSize;
    if (print) {
      printf("%12" PRIu64 "  ", file->fileSize);
      PrintName(YRAFT_FILEINFO_NAME(file));
    }
  }
  return tally;
}

/* Takes the whole queue out as one block. The snapshot leaves the queue as it was, so the records,
 * of which the block carries copies, are cleared away behind it. */
static unsigned int TakeBlock(Packer* packer) {
  unsigned char* data = NULL;
  unsigned int result =
      Told("YraftRWGetAll", YraftRWGetAll(packer->store, YRAFT_QUEUE_FILEINFO, &data));
  if (result == YRAFT_STATUS_SUCCESS) {
    YRAFT_TLV_BLOCKS* block = (YRAFT_TLV_BLOCKS*)data;
    unsigned short size = 0;
    Yraft_TlvBlocksGetSize(block, &size);
    const Tally tally = ReadBlock(block, size, packer->printsItems);
    ++packer->blocks;
    packer->packed.files += tally.files;
    packer->packed.bytes += tally.bytes;
    printf("block %" PRIu64 ": %" PRIu64 " files in %u bytes, %" PRIu64 " bytes of files\n",
           packer->blocks, tally.files, size, block->FilesSize);
    if (block->FilesSize != tally.bytes) packer->consistent = false;
  }
  free(data); /* a block may come with a failure, too */
  YraftRWClear(packer->store, YRAFT_QUEUE_FILEINFO);
  return result;
}

/* How long a block of these records is. It has 12 bytes of its own, and every record brings 8 of an
 * item's head, 24 of its own head and its name with the NUL. */
static size_t BlockLength(size_t records, size_t names) {
  const size_t heads = sizeof(YRAFT_TLV_ITEM) + sizeof(YRAFT_FILEINFO_ITEM);
  return sizeof(YRAFT_TLV_BLOCKS) + records * heads + names;
}

/* A snapshot of more than a block can carry is refused, so the queue is emptied before it comes to
 * that. Its size and its context size, which is what the names come to, say when. */
static unsigned int MakeRoom(Packer* packer, size_t name, int* records) {
  unsigned int names = 0;
  unsigned int result =
      Told("YraftRWSize", YraftRWSize(packer->store, YRAFT_QUEUE_FILEINFO, records));
  if (result != YRAFT_STATUS_SUCCESS) return result;
  result =
      Told("YraftRWContextSize", YraftRWContextSize(packer->store, YRAFT_QUEUE_FILEINFO, &names));
  if (result != YRAFT_STATUS_SUCCESS) return result;
  if (BlockLength((size_t)*records + 1, names + name) <= YRAFT_BLOCK_MAX) return result;
  *records = 0;
  return TakeBlock(packer);
}

unsigned int PackerAdd(Packer* packer, const char* path, uint64_t size) {
  const size_t nameLen = strlen(path);
  int records = 0;
  if (BlockLength(1, nameLen + 1) > YRAFT_BLOCK_MAX) {
    fprintf(stderr, "yraft-pack: a path of %zu bytes fits no block\n", nameLen);
    return YRAFT_STATUS_BUFFER_TOO_SMALL;
  }
  unsigned int result = MakeRoom(packer, nameLen + 1, &records);
  if (result != YRAFT_STATUS_SUCCESS) return result;

  YRAFT_FILEINFO_ITEM* record =
      Yraft_FileInfoItemAllocate(path, (int)nameLen, (unsigned short)records, size);
  if (record == NULL) return Told("Yraft_FileInfoItemAllocate", YRAFT_STATUS_NO_MEMORY);
  result = Told("YraftRWPush", YraftRWPush(packer->store, YRAFT_QUEUE_FILEINFO, 0,
                                           (unsigned char*)record, record->cbSize));
  if (result != YRAFT_STATUS_SUCCESS) free(record); /* refused, so still ours */
  return result;
}

unsigned int PackerFinish(Packer* packer) {
  return YraftRWEmpty(packer->store, YRAFT_QUEUE_FILEINFO) ? YRAFT_STATUS_SUCCESS
                                                           : TakeBlock(packer);
}
