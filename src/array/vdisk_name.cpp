// The array first, the cache file second.
#include "array/vdisk_name.h"

#include "array/array_log.h"
#include "array/nvme_log.h"
#include "array/scsi_page.h"
#include "array/vdisk_cache.h"
#include "common/text.h"

namespace {

void findFor(const char *operation, VdiskNameReader reader, const char *path, const char *wwid, char *name,
             unsigned int *found) {
    *found = 0;
    if (reader(path, name) != 0) {
        getStoredVdiskname(VDISK_CACHE_FILE, wwid, name, found);
        return;
    }
    *found = 1;
    if (safe_strlen(name) == 0) {
        ARRAY_LOG_AS(operation,
                     "Devcie (%s), unable to get vdisk name using in-band channel, we try to get vdisk name "
                     "from file.\n",
                     wwid);
        return;
    }
    store_wwid_vdiskname(VDISK_CACHE_FILE, wwid, name);
}

} // namespace

void displayVdiskname(const char *path, const char *wwid, char *name, unsigned int *found) {
    findFor(__func__, get_vdisk_name, path, wwid, name, found);
}

void displayNvmeVdiskname(const char *path, const char *wwid, char *name, unsigned int *found) {
    findFor(__func__, get_nvme_vdisk_name, path, wwid, name, found);
}

void findVdiskName(VdiskNameReader reader, const char *path, const char *wwid, char *name,
                   unsigned int *found) {
    findFor(__func__, reader, path, wwid, name, found);
}
