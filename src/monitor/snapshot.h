// The snapshot file: the last lun-path list, so that a restarted monitor compares with what it last recorded.
//
//   mpatha,360000000000000000000000000000001,8:16,sdb,ready,active,running,
//
// One line per record, in list order: alias, WWID, dev_id, dev_name, path status, group status, online state,
// each followed by a comma, the last one too. No header, no quoting. The file is created with mode 0600 and
// keeps the mode it has; it is truncated when opened for writing, so a kill in the middle of a write leaves it
// short or empty. One monitor writes it; the write is made under an exclusive lock, and needs no memory. Below /dumps only
// a plain file of ours is read or written (common/dumps_folder.h).
#pragma once

#include "struct/s_lunPath.h"

// Writes the list of the head `list` to the file `path`. Returns 1 when it was written, or when there was
// nothing to write: an empty list leaves the file as it is, a null argument too. 0 when the file could not be
// opened ("Open file failed. file: %s." at level 0) or a write came up short (see `writeStrToFile`); the file
// then holds what was written so far. Logs "Write lun path infomation to file successfully." at level 2
// whenever the file could be opened.
int writeLunPathToFile(const s_lunPath *list, const char *path);

// Reads the file `path` into the empty list of the head `list`, fields cut to their width, lines taken in
// pieces of at most 511 characters. The reading ends at the end of the file or at a piece shorter than 3
// characters.
// Returns 1 when it was read to its end; 0 when an argument is null, when the file could not be opened ("Open
// file failed. file: %s." at level 0), at a piece without its seven commas (see `readFieldFromStr1`) or when
// no node could be had. The records before that are in the list.
int readLunPathToFile(s_lunPath *list, const char *path);

// Writes `length` bytes; the count written, -1 when the write failed. 0 without writing when the descriptor is
// negative, `data` is null or `length` is below 1.
int write_to_file(int fd, const char *data, int length);

// Reads at most `length` bytes; the count read, with the same guards.
int read_from_file(int fd, char *buffer, int length);

// 1 when all of `text` could be written (an empty text always can), otherwise 0, logged at level 0: "Write data
// [%s] to file failed. Expected write %d bytes, but only write %d bytes."
int writeStrToFile(int fd, const char *text, int length);

// Writes `text` and a comma; 1, or 0 as soon as one of the two failed.
int writeFieldToFile(int fd, const char *text);

// Takes the field at the start of `text`, up to the first comma, which is replaced by a terminator: copies at
// most `bound` characters into `destination` (room for bound + 1) and returns the place behind the comma. Null
// for a null text, and when there is no comma: "Read lunpath field failed form string [%s]." at level 0.
char *readFieldFromStr1(char *text, char *destination, unsigned int bound);

// The same with the bound 30.
char *readFieldFromStr(char *text, char *destination);

// Takes the seven fields of one line into `record`. 1 when all were there, 0 otherwise.
int readLunpathFromStr(char *line, s_lunPath *record);
