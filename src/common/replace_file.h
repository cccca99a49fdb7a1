// Replacing a small file so that whoever opens it, at any instant, finds the old text or the new one, whole.
//
//   FILE        the text
//   FILE.new    the next text while it is being written; left behind only by a killed process, and removed by the next
//               one that writes
//
// The new text is written and synced to FILE.new, renamed over FILE, and the folder is synced: a kill or a power cut at
// any point leaves one of the two texts. Writers take turns by an exclusive lock of the folder; the kernel lifts it when
// its holder ends, however that happens. Whoever wants to change a text instead of replacing it reads it within its turn.
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

#include "common/owned.h"

namespace dravik {

// The folder of `path` with the slash behind it, "./" where it names none.
std::string folderOf(const char *path);

// Writes all of the text, in as many pieces as the kernel takes. 0 or an error number.
int writeAll(int fd, const char *text, size_t length);

// The turn to write files of one folder, held until the object goes.
class WritingTurn {
  public:
    // Waits for the turn to write `path`. 0, or the error number of the first step that failed; EBUSY when another
    // process has held the turn for a second without doing anything to `path`, or others have kept it busy for ten; EPERM
    // for a "/dumps" that may not be used (common/dumps_folder.h).
    int take(const char *path);

  private:
    Descriptor folder;
};

// `replaceFile` within the turn that the caller has taken for `path`.
int replaceFileInTurn(const char *path, const char *text, size_t length, mode_t mode_when_new);

} // namespace dravik

// Makes `length` bytes at `text` the content of `path`. A regular file that is there keeps its mode and its
// owner; a new one gets `mode_when_new`. A symbolic link at `path` is replaced, what it points to is not
// touched; the same holds for whatever lies at FILE.new.
// Returns 0, or the error number of the first step that failed; EBUSY as above. After a failure the old content
// stays and no FILE.new of this process is left. Logs nothing.
int replaceFile(const char *path, const char *text, size_t length, mode_t mode_when_new);
