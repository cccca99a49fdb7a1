// The tree of the virtual-disk name cache, and the rule by which a name is changed in it.
//
//   {"disk": [{"wwid": "360...1", "vdisk_name": "vol1"}, ...]}
//
// Members are found as the JSON library finds them: by name without regard to case, the first one first.
#pragma once

#include <cjson/cJSON.h>
#include <string>

// True when `item` is not null and its type is exactly a string, an object, an array.
bool isJsonString(const cJSON *item);
bool isJsonObject(const cJSON *item);
bool isJsonArray(const cJSON *item);

// The tree of a first file with one entry; the caller deletes it. Null when `wwid` or `name` would not come
// back from the file's text as exactly the same two strings: they stand in a template without escaping, so a
// quote, a backslash or a text beyond 1023 bytes in all must not get in.
cJSON *firstDiskTree(const char *wwid, const char *name);

// Gives the entry of `wwid` the name `name`, a string item.
//   *found     1 when the tree has an entry for the WWID: the first object of "disk" with that "wwid"
//   *updated   1 when its "vdisk_name" was another text and is now `name`, which then belongs to the tree;
//              0 when nothing was changed: same name, or the "vdisk_name" there is no string
//   *index     the place of the updated entry in "disk"
// All three are 0 otherwise: no "disk" array, none in it, or an element that is no object stands before the
// entry. Always returns 0.
// Logged at level 0: "Error before: [%s]\n" for a null `root`; "Invalid JSON format for json property %s.\n"
// for an element that is no object; for a change one of
//   "device (%s), vdisk name change from (%s) to (%s).\n", with (NULL) for an empty old or new name.
int update_wwid_vdiskname(cJSON *root, const char *wwid, cJSON *name, unsigned int *found,
                          unsigned int *updated, int *index);

// The last step of the rule: gives `entry`, which is the WWID's, the name. True when it was another text, which is then
// in `*old_name`, and `name` belongs to the tree. False when nothing was changed. Throws std::bad_alloc.
bool renameEntry(cJSON *entry, cJSON *name, std::string *old_name);

// Logs the change of a name, as above.
void logNameChange(const char *wwid, const char *old_name, const char *new_name);

// The key of `item` for a log line, "" when there is none.
const char *jsonKey(const cJSON *item);

// Where the last failed parse stopped, "" when the library does not tell.
const char *jsonErrorText();
