// The host's ports: by what name the SAN knows the initiator of a path.
#pragma once

#include <map>
#include <string>

#include "struct/s_dravik.h"

namespace dravik {

// The initiators of one observation: each host adapter and controller is looked at once.
//   Fibre Channel       the port name in /sys/class/fc_host/hostN/port_name: 0x10000090fa000001
//   iSCSI               the session's initiator name: iqn.1994-05.com.example:host
//   NVMe over Fabrics   the host's qualified name, /sys/class/nvme/nvmeN/hostnqn
//   anything else       "hostN" from the path's address; "" where it has none
class Initiators {
  public:
    const std::string &of(const s_path_dev *path);

  private:
    const std::string &ofScsiHost(const std::string &host);
    void readSessions();

    std::map<std::string, std::string> by_host; // "host3" or "nvme0"
    std::map<std::string, std::string> sessions;
    bool sessions_read = false;
};

} // namespace dravik
