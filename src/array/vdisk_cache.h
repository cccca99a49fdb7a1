// The virtual-disk name cache: the names that the array has told, by WWID, so that a volume whose paths have
// all failed can still be shown under its name.
//
//   /dumps/storage_config.json   {"disk": [{"wwid": "360...1", "vdisk_name": "vol1"}, ...]}
//
// The file is written whole, formatted, without a final newline, and replaced in one step
// (common/replace_file.h). One entry a WWID, new ones at the end, none ever removed. There is no lock across
// reading and writing: of two processes that store at once one may lose its entry, never the file.
//
// What was read is kept in memory, indexed by WWID, for as long as the file stays the same one unchanged; a
// display of many volumes reads the file once. `holdVdiskWrites` saves its writes too.
//
// All log lines are of level 0.
#pragma once

constexpr char VDISK_CACHE_FILE[] = "/dumps/storage_config.json";

// The most bytes of a cache file that are read: some sixty thousand volumes take half of it.
constexpr long long VDISK_CACHE_LIMIT = 16LL * 1024 * 1024;

// Writes `path` new, with mode 0600 or the mode of the file it replaces, holding the one entry.
// Returns 1; 0, with nothing written, when the pair cannot stand in the template (vdisk_json.h), or when the
// writing failed, logged as "Failed to write file %s: %s.\n" with the path and the reason.
int make_disk_json(const char *wwid, const char *name, const char *path);

// Remembers `name` for `wwid` in the file `path`:
//   no file, an empty or unparseable one   a file with this entry alone, as `make_disk_json` makes it
//   the WWID has an entry                  the entry's name is changed where it differs; the file is not
//                                          written where it does not
//   otherwise                              an entry is appended to "disk"; a root without "disk" is written
//                                          as it was, and a "disk" that is no array is left alone
// A file that cannot be read, or is larger than VDISK_CACHE_LIMIT, is left alone.
// Logged: "Failed to save wwid filed, because wwid is NULL.\n" and "Failed to save vdisk name filed, because
// vdisk name is NULL.\n" for an empty WWID and an empty name, both of which end the call; what the rule logs
// (vdisk_json.h); the failures of writing, as above, and "File %s is larger than %lld bytes, not used.\n".
void store_wwid_vdiskname(const char *path, const char *wwid, const char *name);

// Looks up the name of `wwid` in the file `path`. The first element of "disk" with that "wwid" is the entry;
// elements that are no objects are passed over. `*found` becomes 1 when there is one, and its name, when it
// is a string, is copied into `name`, which holds 128 bytes, cut at 127 characters. Otherwise both are
// untouched: the caller presets `*found` to 0.
// Logged: "Error can't open file %s.\n", "Error before: [%s].\n" for a text that does not parse, "Invalid
// JSON format for %s file.\n" for a root that is no object, "Invalid JSON format for json property %s.\n"
// for a "disk" that is no array, "File %s is larger than %lld bytes, not used.\n".
void getStoredVdiskname(const char *path, const char *wwid, char *name, unsigned int *found);

// Between the two calls a store into a file that exists changes the entries in memory alone; lookups see
// them, log lines come at once. `releaseVdiskWrites` writes the file, once, if there is something to write; a
// process that ends before has stored nothing. For a display that names many volumes at a time.
void holdVdiskWrites();
void releaseVdiskWrites();
