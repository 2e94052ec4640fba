/* yraft-pack: lists a directory tree as TLV blocks.
 *
 * A host without a UI: it queues a record for every file of a tree in a queue store, takes the
 * records out in blocks and holds what the blocks say against the tree. */
#include <getopt.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "pack.h"
#include "tree.h"

enum { kAgrees = 0, kDiffers = 1, kNoStart = 2 };

static const char kHelp[] =
    "usage: yraft-pack [--quiet] FOLDER\n"
    "\n"
    "Packs a record for every file below FOLDER into TLV blocks, prints the items with the sizes "
    "of\n"
    "the files and, behind its items, every block. Links are followed. Devices, sockets and pipes\n"
    "are no files.\n"
    "\n"
    "  --quiet  prints no items\n"
    "\n"
    "Exit status: 0 the blocks hold the whole tree; 1 something could not be read or packed, or "
    "the\n"
    "totals differ; 2 wrong usage or no such folder.\n";

static int Usage(const char* what) {
  fprintf(stderr, "yraft-pack: %s\nTry 'yraft-pack --help'.\n", what);
  return kNoStart;
}

static bool AddFile(void* context, const char* path, uint64_t size) {
  return PackerAdd((Packer*)context, path, size) == YRAFT_STATUS_SUCCESS;
}

static int Compare(const TreeReport* tree, const Packer* packer) {
  const bool agree = packer->consistent && tree->found.files == packer->packed.files &&
                     tree->found.bytes == packer->packed.bytes;
  printf("tree:   %" PRIu64 " files, %" PRIu64 " bytes", tree->found.files, tree->found.bytes);
  if (tree->others != 0) printf(", %" PRIu64 " others left out", tree->others);
  printf("\nblocks: %" PRIu64 " files, %" PRIu64 " bytes in %" PRIu64 " blocks\n",
         packer->packed.files, packer->packed.bytes, packer->blocks);
  if (!agree) fputs("yraft-pack: the blocks do not agree with the tree\n", stderr);
  if (tree->errors != 0) {
    fprintf(stderr, "yraft-pack: %" PRIu64 " parts of the tree are missing\n", tree->errors);
  }
  return agree && tree->errors == 0 ? kAgrees : kDiffers;
}

static int Pack(const char* folder, bool printsItems) {
  Packer packer;
  if (PackerOpen(&packer, printsItems) != YRAFT_STATUS_SUCCESS) return kNoStart;
  const TreeReport tree = TreeWalk(folder, AddFile, &packer);
  const bool packed = !tree.ended && PackerFinish(&packer) == YRAFT_STATUS_SUCCESS;
  PackerClose(&packer);
  const int status = Compare(&tree, &packer);
  if (fflush(stdout) != 0 || ferror(stdout)) {
    perror("yraft-pack: cannot write");
    return kDiffers;
  }
  return packed ? status : kDiffers;
}

int main(int argc, char** argv) {
  const struct option known[] = {
      {"quiet", no_argument, NULL, 'q'}, {"help", no_argument, NULL, 'h'}, {NULL, 0, NULL, 0}};
  bool printsItems = true;
  int found;
  while ((found = getopt_long(argc, argv, "", known, NULL)) != -1) {
    if (found == 'h') {
      fputs(kHelp, stdout);
      return 0;
    }
    if (found != 'q') return Usage("wrong option");
    printsItems = false;
  }
  if (optind + 1 != argc) return Usage("one folder is wanted");
  struct stat status;
  if (stat(argv[optind], &status) != 0) {
    fprintf(stderr, "yraft-pack: ");
    perror(argv[optind]);
    return kNoStart;
  }
  if (!S_ISDIR(status.st_mode)) return Usage("not a folder");
  return Pack(argv[optind], printsItems);
}
