// A growing text accumulator for the whole process. Nothing in the system calls it; its growth rule is part
// of the module's interface and is kept as it is.
#pragma once

// The text so far (null until the first growth), its length, and the room it was allocated for. The block
// holds one byte more than `bufSize`.
extern char *buf;
extern unsigned int bufLen;
extern unsigned int bufSize;
// The unit of growth in bytes.
extern const unsigned int bufBlockSize;

// Empties the text and keeps the room.
void cleanBuf();

// Makes room for `n` more characters: when bufLen + n reaches bufSize, the new size is
// bufBlockSize * ((bufLen + n + 1) modulo bufBlockSize): the remainder, on purpose. Returns 1 when the text,
// `n` characters and a terminator fit, 0 when the allocation fails or that size could not hold them; then
// nothing has changed.
int expandBufSize(unsigned int n);

// Appends a text, or `n` copies of `c`. The new length; 1 when there was nothing to append, 0 when no room
// could be had and nothing has changed.
unsigned int appendBuf(const char *text);
unsigned int appendBufByChar(char c, unsigned int n);

// Prints the text to standard output.
void printBuf();
