#define _DEFAULT_SOURCE /* fts */
#include "tree.h"

#include <errno.h>
#include <fts.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

static int ByName(const FTSENT** a, const FTSENT** b) {
  return strcmp((*a)->fts_name, (*b)->fts_name);
}

static void Complain(TreeReport* report, const char* path, const char* what, int error) {
  ++report->errors;
  fprintf(stderr, "yraft-pack: %s: %s%s%s\n", path, what, error != 0 ? ": " : "",
          error != 0 ? strerror(error) : "");
}

static void ComplainOfLoop(TreeReport* report, const FTSENT* entry) {
  ++report->errors;
  fprintf(stderr, "yraft-pack: %s: leads back to %.*s\n", entry->fts_path,
          (int)entry->fts_cycle->fts_pathlen, entry->fts_cycle->fts_path);
}

/* Says where following the link failed, which fts keeps to itself. */
static void ComplainOfLink(TreeReport* report, const FTSENT* entry) {
  struct stat status;
  Complain(report, entry->fts_path, "cannot follow the link",
           stat(entry->fts_accpath, &status) != 0 ? errno : 0);
}

static void Meet(TreeReport* report, const FTSENT* entry, TreeVisitor visitor, void* context) {
  switch (entry->fts_info) {
    case FTS_D:
    case FTS_DP:
      break;
    case FTS_F: {
      const uint64_t size = (uint64_t)entry->fts_statp->st_size;
      ++report->found.files;
      report->found.bytes += size;
      report->ended = !visitor(context, entry->fts_path, size);
      break;
    }
    case FTS_DEFAULT:
      ++report->others;
      break;
    case FTS_DC:
      ComplainOfLoop(report, entry);
      break;
    case FTS_SL:
    case FTS_SLNONE:
      ComplainOfLink(report, entry);
      break;
    case FTS_DNR:
      Complain(report, entry->fts_path, "cannot read the folder", entry->fts_errno);
      break;
    default:
      Complain(report, entry->fts_path, "cannot look at it", entry->fts_errno);
      break;
  }
}

TreeReport TreeWalk(const char* root, TreeVisitor visitor, void* context) {
  TreeReport report = {{0, 0}, 0, 0, false};
  char* const roots[] = {(char*)(uintptr_t)root, NULL};
  FTS* tree = fts_open(roots, FTS_LOGICAL | FTS_NOCHDIR, ByName);
  if (tree == NULL) {
    Complain(&report, root, "cannot walk the tree", errno);
    return report;
  }
  while (!report.ended) {
    errno = 0;
    const FTSENT* entry = fts_read(tree);
    if (entry == NULL) {
      if (errno != 0) Complain(&report, root, "cannot walk on", errno);
      break;
    }
    Meet(&report, entry, visitor, context);
  }
  fts_close(tree);
  return report;
}
