// The product's identification.
#include "commands/version.h"

#include <cstdio>

#include "common/log.h"

const char DRAVIK_VERSION[] = DRAVIK_VERSION_TEXT;

s_ecItems *version() {
    print__();
    puts("Software name: Dravik");
    puts("Vendor: Korvel");
    printf("Version: %s\n", DRAVIK_VERSION);
    puts("Copyright (c) Korvel. All rights reserved.");
    print__();
    return &EC_info_ok;
}
