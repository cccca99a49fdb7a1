/* Sleeps: nap SECONDS */
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char **argv) {
    return argc < 2 ? 2 : (int)sleep((unsigned)strtoul(argv[1], NULL, 10));
}
