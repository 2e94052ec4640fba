/* A host in C that meets the library linked or, given its path, by dlopen; either way tcmalloc
 * comes along. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "yrafiletransfer.h"

#define CHECK(condition)                                 \
  do {                                                   \
    if (!(condition)) {                                  \
      fprintf(stderr, "%d: %s\n", __LINE__, #condition); \
      return 1;                                          \
    }                                                    \
  } while (0)

typedef unsigned int (*Create)(YraRW**);
typedef unsigned int (*Push)(YraRW*, int, int, unsigned char*, unsigned int);
typedef unsigned int (*GetAll)(YraRW*, int, unsigned char**);

/* Converts an address that dlsym answered: ISO C has no cast for it. */
#define LOOK_UP(function, library, name)             \
  do {                                               \
    void* address = dlsym(library, name);            \
    CHECK(address != NULL);                          \
    memcpy(&(function), &address, sizeof(function)); \
  } while (0)

#ifndef LINKED
/* The shared header's functions trace; this host has nothing linked that would. */
void __KvoTrace(unsigned int classId, int level, const char* file, const char* function,
                unsigned int line, const char* format, ...) {
  (void)classId, (void)level, (void)file, (void)function, (void)line, (void)format;
}
#endif

static int Mapped(const char* part) {
  char line[512];
  int found = 0;
  FILE* maps = fopen("/proc/self/maps", "r");
  while (maps != NULL && fgets(line, sizeof(line), maps) != NULL) {
    if (strstr(line, part) != NULL) found = 1;
  }
  if (maps != NULL) fclose(maps);
  return found;
}

static int Use(Create create, Push push, GetAll getAll, Create destroy) {
  YraRW* store = NULL;
  unsigned char* block = NULL;
  int i;
  CHECK(create(&store) == YRAFT_STATUS_SUCCESS);
  for (i = 0; i < 1000; ++i) {
    YRAFT_FILEINFO_ITEM* item = Yraft_FileInfoItemAllocate("/tmp/a.txt", 10, 0, 1);
    CHECK(push(store, YRAFT_QUEUE_FILEINFO, 0, (unsigned char*)item, item->cbSize) == 0);
  }
  CHECK(getAll(store, YRAFT_QUEUE_FILEINFO, &block) == 0);
  CHECK(((YRAFT_TLV_BLOCKS*)block)->FilesSize == 1000);
  free(block);
  CHECK(destroy(&store) == YRAFT_STATUS_SUCCESS);
  return 0;
}

int main(int argc, char** argv) {
#ifdef LINKED
  Create create = YraftRWCreate;
  Create destroy = YraftRWDestory;
  Push push = YraftRWPush;
  GetAll getAll = YraftRWGetAll;
  (void)argc;
  (void)argv;
#else
  Create create;
  Create destroy;
  Push push;
  GetAll getAll;
  void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  CHECK(library != NULL);
  LOOK_UP(create, library, "YraftRWCreate");
  LOOK_UP(destroy, library, "YraftRWDestory");
  LOOK_UP(push, library, "YraftRWPush");
  LOOK_UP(getAll, library, "YraftRWGetAll");
#endif
  CHECK(Use(create, push, getAll, destroy) == 0);
  CHECK(Mapped("libyrafiletransfer.so"));
  CHECK(Mapped("libtcmalloc") == EXPECT_TCMALLOC);
  printf("1 passed, 0 failed\n");
  return 0;
}
