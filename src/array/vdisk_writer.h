// A process beside this one that writes the names which the array tells into the cache file, while this one asks on.
//
// An answer may take seconds, and many volumes are asked: a name must neither wait for the next answer nor make the whole
// file be written again for itself alone. The writer gathers names for half a second, merges them into the file as it then
// is, and ends when this process ends, in whatever way: a kill loses no name that has been told. No program is run.
#pragma once

namespace dravik {

// Starts the writer for the file `path`, unless one is running. False when it could not be had, or when one is running for
// another file.
bool startVdiskWriter(const char *path);

// Hands it a name. False when no writer is running or it has gone away, killed for instance: no signal comes of that, and
// a new one can be started. The names that it had not merged yet are lost.
bool handToVdiskWriter(const char *wwid, const char *name);

// Lets the writer finish and waits for it. Nothing happens where none is running.
void endVdiskWriter();

} // namespace dravik
