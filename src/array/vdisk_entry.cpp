// The cache's tree: its first form, its rule of change.
#include "array/vdisk_entry.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "array/array_log.h"

namespace {

constexpr char FIRST_FILE[] = "{\"disk\": [{\n\"wwid\": \"%s\",\n\"vdisk_name\":   \"%s\"}]\n}";
constexpr size_t FIRST_FILE_SIZE = 1024;

bool isText(const cJSON *item, const char *key, const char *text) {
    return isJsonString(item) && strcmp(item->string, key) == 0 && strcmp(item->valuestring, text) == 0;
}

// Whether `root` is {"disk": [{"wwid": WWID, "vdisk_name": NAME}]} and nothing else.
bool isFirstTree(const cJSON *root, const char *wwid, const char *name) {
    const cJSON *disk = isJsonObject(root) ? root->child : nullptr;
    if (!isJsonArray(disk) || disk->next != nullptr || cJSON_GetArraySize(disk) != 1) {
        return false;
    }
    const cJSON *entry = cJSON_GetArrayItem(disk, 0);
    if (!isJsonObject(entry) || cJSON_GetArraySize(entry) != 2) {
        return false;
    }
    return isText(entry->child, "wwid", wwid) && isText(entry->child->next, "vdisk_name", name);
}

} // namespace

bool isJsonString(const cJSON *item) {
    return item != nullptr && item->type == cJSON_String;
}

bool isJsonObject(const cJSON *item) {
    return item != nullptr && item->type == cJSON_Object;
}

bool isJsonArray(const cJSON *item) {
    return item != nullptr && item->type == cJSON_Array;
}

cJSON *firstDiskTree(const char *wwid, const char *name) {
    char text[FIRST_FILE_SIZE] = "";
    snprintf(text, sizeof(text), FIRST_FILE, wwid, name);
    cJSON *root = wwid[0] == '\0' ? nullptr : cJSON_Parse(text);
    if (root == nullptr || !isFirstTree(root, wwid, name)) {
        cJSON_Delete(root);
        return nullptr;
    }
    return root;
}

int update_wwid_vdiskname(cJSON *root, const char *wwid, cJSON *name, unsigned int *found,
                          unsigned int *updated, int *index) {
    *found = 0;
    *updated = 0;
    *index = 0;
    if (root == nullptr) {
        ARRAY_LOG("Error before: [%s]\n", jsonErrorText());
        return 0;
    }
    const cJSON *disk = cJSON_GetObjectItem(root, "disk");
    if (!isJsonArray(disk)) {
        return 0;
    }
    int i = 0;
    for (cJSON *entry = disk->child; entry != nullptr; entry = entry->next, i++) {
        if (!isJsonObject(entry)) {
            ARRAY_LOG("Invalid JSON format for json property %s.\n", jsonKey(entry));
            return 0;
        }
        const cJSON *item = cJSON_GetObjectItem(entry, "wwid");
        if (isJsonString(item) && strcmp(item->valuestring, wwid) == 0) {
            *found = 1;
            std::string old_name;
            if (renameEntry(entry, name, &old_name)) {
                logNameChange(wwid, old_name.c_str(), name->valuestring);
                *updated = 1;
                *index = i;
            }
            return 0;
        }
    }
    return 0;
}

bool renameEntry(cJSON *entry, cJSON *name, std::string *old_name) {
    const cJSON *item = cJSON_GetObjectItem(entry, "vdisk_name");
    if (!isJsonString(item) || strcmp(item->valuestring, name->valuestring) == 0) {
        return false;
    }
    *old_name = item->valuestring; // the old item is gone after the replacement
    return cJSON_ReplaceItemInObject(entry, "vdisk_name", name) != 0;
}

void logNameChange(const char *wwid, const char *old_name, const char *new_name) {
    constexpr char OPERATION[] = "update_wwid_vdiskname";
    if (old_name[0] != '\0' && new_name[0] != '\0') {
        ARRAY_LOG_AS(OPERATION, "device (%s), vdisk name change from (%s) to (%s).\n", wwid, old_name,
                     new_name);
    } else if (new_name[0] != '\0') {
        ARRAY_LOG_AS(OPERATION, "device (%s), vdisk name change from (NULL) to (%s).\n", wwid, new_name);
    } else {
        ARRAY_LOG_AS(OPERATION, "device (%s), vdisk name change from (%s) to (NULL).\n", wwid, old_name);
    }
}

const char *jsonKey(const cJSON *item) {
    return item == nullptr || item->string == nullptr ? "" : item->string;
}

const char *jsonErrorText() {
    const char *text = cJSON_GetErrorPtr();
    return text == nullptr ? "" : text;
}
