// The texts from which a path's transport and target port are read: its links below /dev/disk/by-path, its transport and
// its controller's address below /sys/block.
//
// They are what short command lines would print, line by line and cut alike, without running them: a host has thousands
// of paths and looks at each every ten seconds. The command lines are run where only they can tell (see path_links.h and
// device_attribute.h), for a device whose name they would take for a pattern, and while DRAVIK_CLI_DEBUG is on, so that a
// trace shows them.
#pragma once

#include "common/result.h"

namespace dravik {

// Asks for the texts of `device`, a plain device name (common/plain_word.h), into `out` of `size` bytes. The record is that
// of the command line: EC_info_ok; EC_exe_cmd_failed, logged as exeLiunxInfoCmd (host/task.h) logs it.
s_ecItems *askLinks(const char *device, char *out, unsigned int size);
s_ecItems *askTransport(const char *device, char *out, unsigned int size);
s_ecItems *askAddress(const char *device, char *out, unsigned int size);

// One query over many paths: while it lives the folder of links is read once, when it is first needed. Outside of it each
// question reads the folder anew. One at a time.
class PortQuery {
  public:
    PortQuery();
    ~PortQuery();
    PortQuery(const PortQuery &) = delete;
    PortQuery &operator=(const PortQuery &) = delete;
};

// Whether every text is asked from the commands: off, but for comparing the two ways.
extern bool ask_commands_only;

} // namespace dravik
