// What the tests of the monitor's cycle share: listings, and the lines they give.
#pragma once

#include <string>
#include <vector>

#include "monitor/monitor.h"

using Lines = std::vector<std::string>;

// Two volumes, three paths, none of which needs a look-up.
inline const std::string VOLUME_A = "mpatha (36a) dm-1 KORVEL,QVX\nsize=1G\n"
                                    "|-+- policy='service-time 0' prio=50 status=active\n"
                                    "| `- 1:0:0:1 xab 8:16 active ready running\n"
                                    "`-+- policy='service-time 0' prio=10 status=enabled\n"
                                    "  `- 2:0:0:1 xac 8:32 active ready running\n";
inline const std::string VOLUME_B = "mpathb (36b) dm-2 KORVEL,QVX\nsize=2G\n"
                                    "`-+- policy='service-time 0' prio=50 status=active\n"
                                    "  `- 1:0:0:2 xad 8:48 active ready running\n";
inline const std::string VOLUME_A_FAULTY = "mpatha (36a) dm-1 KORVEL,QVX\nsize=1G\n"
                                           "|-+- policy='service-time 0' prio=50 status=active\n"
                                           "| `- 1:0:0:1 xab 8:16 failed faulty running\n"
                                           "`-+- policy='service-time 0' prio=10 status=enabled\n"
                                           "  `- 2:0:0:1 xac 8:32 active ready running\n";
inline const std::string PATHLESS = "mpathc (36c) dm-3 KORVEL,QVX\nsize=3G\n";

inline const std::string SNAPSHOT_A = "mpatha,36a,8:16,xab,ready,active,running,\n"
                                      "mpatha,36a,8:32,xac,ready,enabled,running,\n";
inline const std::string SNAPSHOT_B = "mpathb,36b,8:48,xad,ready,active,running,\n";
inline const std::string SNAPSHOT_A_FAULTY = "mpatha,36a,8:16,xab,faulty,active,running,\n"
                                             "mpatha,36a,8:32,xac,ready,enabled,running,\n";

inline std::string lunLine(const char *event, const char *alias, const char *wwid) {
    return std::string("The lun is ") + event + ", the properties are [ path_alias: " + alias +
           ", wwid: " + wwid + " ].";
}
inline std::string pathLine(const char *event, const char *alias, const char *wwid, const char *name,
                            const char *group) {
    return std::string("The path is ") + event + ", the properties are [ path_alias: " + alias +
           ", wwid: " + wwid + ", dev_name: " + name + ", path_status: ready, path_group_status: " + group +
           ", dravik_status:running ].";
}
inline Lines volumeALines(const char *event) {
    return {lunLine(event, "mpatha", "36a"), pathLine(event, "mpatha", "36a", "xab", "active"),
            pathLine(event, "mpatha", "36a", "xac", "enabled")};
}
inline const std::string FAULTY =
    "The path status is changed from [ready] to [faulty] for the path [ dev_name: xab ].";
inline const std::string READY =
    "The path status is changed from [faulty] to [ready] for the path [ dev_name: xab ].";

inline const std::string SNAPSHOT_WRITTEN =
    "INFO  writeLunPathToFile # Write lun path infomation to file successfully.";
inline const std::string NOT_EXECUTED = "Error(0003): Execute system command failed..";
inline const std::string NOT_PARSED = "Error(0110): Parse command output failed..";
inline const std::string NO_ROOM = "Error(0004): Molloc memory space failed..";

// The two lines of a cycle whose query failed.
inline Lines queryFailed(const std::string &error) {
    return {"ERROR getLunPath # Query Dravik infomation failed. Error message: " + error,
            "ERROR oneMonitor # Get lun and path information failed. Error message: " + error};
}

// Releases the lists of `initMonitor`.
inline void forgetMonitor() {
    freeLunpath(g_pLunPath);
    freeLunpath(g_pOldLunPath);
    freeDravik(g_pDravik);
    g_pLunPath = nullptr;
    g_pOldLunPath = nullptr;
    g_pDravik = nullptr;
}
