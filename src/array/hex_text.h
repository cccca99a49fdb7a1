// Bytes as hexadecimal text, and back.
#pragma once

// Writes the `count` bytes of `in` from index `start` on as two lower-case hexadecimal digits each, one after
// the other, and terminates. `size` is the room in `out`.
// Returns 0; -1, with nothing written, when `in` is null or `size` - 1 is less than 2 * `count`.
int binary_to_ascii(char *out, unsigned int size, const unsigned char *in, unsigned int start,
                    unsigned int count);

// Writes the `count` bytes of `in` as upper-case hexadecimal digits, high nibble first, and terminates. `out`
// holds 2 * `count` + 1 bytes. Nothing in the system calls it.
void lib_hex2asc(const unsigned char *in, unsigned int count, char *out);

// Turns hexadecimal text, either case, into bytes, two characters a byte. `size` is the room in `out`.
// Returns the number of bytes; -1, with nothing written, when `text` is null, holds anything but pairs of
// hexadecimal digits, or does not fit. Nothing in the system calls it.
int lib_asc2hex(const char *text, unsigned char *out, unsigned int size);
