// The growing text accumulator.
#include "common/text_accumulator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/text.h"

char *buf = nullptr;
unsigned int bufLen = 0;
unsigned int bufSize = 0;
const unsigned int bufBlockSize = 1024;

void cleanBuf() {
    bufLen = 0;
    if (buf != nullptr) {
        buf[0] = '\0';
    }
}

int expandBufSize(unsigned int n) {
    const size_t needed = static_cast<size_t>(bufLen) + n;
    if (needed < bufSize) {
        return 1;
    }
    const size_t size = static_cast<size_t>(bufBlockSize) * ((needed + 1) % bufBlockSize);
    if (size < needed) {
        return 0;
    }
    auto *grown = static_cast<char *>(calloc(size + 1, 1));
    if (grown == nullptr) {
        return 0;
    }
    if (buf != nullptr) {
        memcpy(grown, buf, bufLen);
        free(buf);
    }
    buf = grown;
    bufSize = static_cast<unsigned int>(size);
    return 1;
}

unsigned int appendBuf(const char *text) {
    const auto length = static_cast<unsigned int>(safe_strlen(text));
    if (length == 0) {
        return 1;
    }
    if (expandBufSize(length) == 0) {
        return 0;
    }
    memcpy(buf + bufLen, text, length + 1);
    bufLen += length;
    return bufLen;
}

unsigned int appendBufByChar(char c, unsigned int n) {
    if (n == 0) {
        return 1;
    }
    if (expandBufSize(n) == 0) {
        return 0;
    }
    memset(buf + bufLen, c, n);
    bufLen += n;
    buf[bufLen] = '\0';
    return bufLen;
}

void printBuf() {
    fputs(buf == nullptr ? "" : buf, stdout);
}
