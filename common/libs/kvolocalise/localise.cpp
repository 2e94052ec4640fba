// Message catalogs: one catalog open per process, texts by number, numbers by name.
#include "kvolocalise.h"

int KvoLocaliseInit() { return 0; }
void KvoLocaliseShutdown() {}
const char* KvoLocalise(int) { return "Message catalog is not open."; }
unsigned int KvoLocaliseLookupByName(const char*) { return 0; }
int KvoPrint(const char*, ...) { return -1; }
int KvoPrintError(const char*, ...) { return -1; }
