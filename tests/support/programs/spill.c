/* Writes COUNT bytes to a file, by write(2) or through a stream, and prints what came of it:
   spill FILE COUNT write|stream */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int byWrite(const char *path, const char *bytes, size_t count) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);

    if (fd < 0) {
        printf("open: %s\n", strerror(errno));
        return 1;
    }
    while (count > 0) {
        const ssize_t wrote = write(fd, bytes, count);
        if (wrote < 0) {
            printf("write: %s\n", strerror(errno));
            return 1;
        }
        printf("wrote %zd\n", wrote);
        count -= (size_t)wrote;
    }
    return close(fd);
}

static int byStream(const char *path, const char *bytes, size_t count) {
    FILE *stream = fopen(path, "w+");

    if (stream == NULL) {
        printf("fopen: %s\n", strerror(errno));
        return 1;
    }
    const size_t wrote = fwrite(bytes, 1, count, stream);
    printf("fwrite %zu\n", wrote);
    const int closed = fclose(stream);
    printf("fclose: %s\n", closed == 0 ? "ok" : strerror(errno));
    return 0;
}

int main(int argc, char **argv) {
    static char bytes[1 << 16];
    const size_t count = argc < 4 ? 0 : strtoul(argv[2], NULL, 10);

    if (count == 0 || count > sizeof bytes)
        return 2;
    memset(bytes, 'x', sizeof bytes);
    return strcmp(argv[3], "write") == 0 ? byWrite(argv[1], bytes, count) : byStream(argv[1], bytes, count);
}
