// Describing the topology.
#include "commands/query_json.h"

#include <string>
#include <unordered_map>

#include "array/vdisk_cache.h"
#include "commands/parameter_buffers.h"
#include "commands/vdisk_question.h"
#include "commands/volume_json.h"
#include "ledger/kernel_view.h"
#include "ledger/seen.h"
#include "topology/topology_query.h"

namespace dravik {

namespace {

using NamesByWwid = std::unordered_map<std::string, std::string>;

// The name of the first device of each WWID; empty where it is not known.
NamesByWwid askNames(const s_dravik *head) {
    NamesByWwid names;
    holdVdiskWrites();
    for (s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        names.emplace(device->wwid, findVdiskNameOf(device) ? device->vdisk_name : "");
    }
    releaseVdiskWrites();
    return names;
}

Json describeTopology(const s_dravik *head) {
    NamesByWwid names = askNames(head);
    Initiators initiators;
    Json volumes = Json::array();
    for (SeenVolume &volume : seeTopology(head, &initiators)) {
        volume.attributes.size_bytes = mapSizeBytes(volume.attributes.map);
        volumes.add(seenVolumeJson(volume, names[volume.wwid]));
    }
    return volumes;
}

} // namespace

s_ecItems *describeQuery(int argc, Json *document) {
    const DravikList head(mallocDravik(), freeDravik);
    if (head == nullptr) {
        return &EC_molloc_failed;
    }
    s_ecItems *result =
        argc == 3 ? querySingleDravikInfo(head.get(), gParamMpathxVal) : queryDravikInfo(head.get());
    if (!isFailure(result)) {
        document->set("volumes", describeTopology(head.get()));
    }
    return result;
}

} // namespace dravik
