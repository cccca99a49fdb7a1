// The host's ports: by what name the SAN knows the initiator of a path.
#pragma once

#include <map>
#include <string>
#include <vector>

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

    // The names that have been asked for so far, by the kernel's name of the host adapter or controller.
    const std::map<std::string, std::string> &names() const {
        return by_port;
    }

  private:
    const std::string &find(const s_path_dev *path, bool is_nvme, unsigned int number);
    std::string nameOf(const s_path_dev *path, bool is_nvme, const std::string &port);
    void readSessions();

    std::map<std::string, std::string> by_port; // "host3" or "nvme0"; what it holds stays where it is
    // The same by number, without a search, for the paths of a large host: of SCSI hosts and of NVMe controllers.
    std::vector<const std::string *> by_number[2];
    std::map<std::string, std::string> sessions;
    bool sessions_read = false;
};

} // namespace dravik
