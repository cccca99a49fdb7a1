// Replacing a small file so that whoever opens it, at any instant, finds the old text or the new one, whole.
//
//   FILE        the text
//   FILE.new    the next text while it is being written; left behind only by a killed process, and then
//               taken over by the next one that writes
//
// The new text is written and synced to FILE.new under an exclusive lock, renamed over FILE, and the folder
// is synced: a kill or a power cut at any point leaves one of the two texts. Two processes never write into
// one FILE.new; the later one wins.
#pragma once

#include <cstddef>
#include <sys/types.h>

// Makes `length` bytes at `text` the content of `path`. A regular file that is there keeps its mode and its
// owner; a new one gets `mode_when_new`. A symbolic link at `path` is replaced, what it points to is not
// touched. A FILE.new that is a link, has a second name or belongs to somebody else is removed, never
// written through.
// Returns 0, or the error number of the first step that failed; EBUSY when another process has held FILE.new
// for a second without doing anything, or others have kept it busy for ten. After a failure the old content
// stays and no FILE.new of this process is left. Logs nothing.
int replaceFile(const char *path, const char *text, size_t length, mode_t mode_when_new);
