// The virtual-disk name cache: the names that the array has told, by WWID, so that a volume whose paths have
// all failed can still be shown under its name.
//
//   /dumps/storage_config.json   {"disk": [{"wwid": "360...1", "vdisk_name": "vol1"}, ...]}
//
// The file is written whole, formatted, without a final newline, and replaced in one step
// (common/replace_file.h). One entry a WWID, new ones at the end, none ever removed. Each write merges into the file as it
// then is: of two processes that store at once neither loses its entry.
//
// What was read is kept in memory, indexed by WWID, for as long as the file stays the same one unchanged; a
// display of many volumes reads the file once. `holdVdiskWrites` leaves its writes to a process beside it.
//
// All log lines are of level 0.
#pragma once

#include <string>
#include <vector>

constexpr char VDISK_CACHE_FILE[] = "/dumps/storage_config.json";

// The most bytes of a cache file that are read: some sixty thousand volumes take half of it.
constexpr long long VDISK_CACHE_LIMIT = 16LL * 1024 * 1024;

// Writes `path` new, with mode 0600 or the mode of the file it replaces, holding the one entry.
// Returns 1; 0, with nothing written, when the pair cannot stand in the template (vdisk_entry.h), or when the
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
// (vdisk_entry.h); the failures of writing, as above, and "File %s is larger than %lld bytes, not used.\n".
void store_wwid_vdiskname(const char *path, const char *wwid, const char *name);

// Looks up the name of `wwid` in the file `path`. The first element of "disk" with that "wwid" is the entry;
// elements that are no objects are passed over. `*found` becomes 1 when there is one, and its name, when it
// is a string, is copied into `name`, which holds 128 bytes, cut at 127 characters. Otherwise both are
// untouched: the caller presets `*found` to 0.
// Logged: "Error can't open file %s.\n", "Error before: [%s].\n" for a text that does not parse, "Invalid
// JSON format for %s file.\n" for a root that is no object, "Invalid JSON format for json property %s.\n"
// for a "disk" that is no array, "File %s is larger than %lld bytes, not used.\n".
void getStoredVdiskname(const char *path, const char *wwid, char *name, unsigned int *found);

// Between the two calls a store into a file that exists changes the entries in memory, which lookups see, and logs its
// lines at once; the file learns of it at most a second later, through the writer (vdisk_writer.h), also when this process
// ends before. `releaseVdiskWrites` waits until all is written. For a display that names many volumes.
void holdVdiskWrites();
void releaseVdiskWrites();

// A WWID and the name that the array has for it.
struct VdiskPair {
    std::string wwid;
    std::string name;
};

// Stores the pairs by the rules of `store_wwid_vdiskname`, in one write; only failures are logged. False when memory ran
// out: the file is as it was, and another attempt may succeed.
bool mergeVdiskNames(const char *path, const std::vector<VdiskPair> &pairs);
