// Listings of the multipath tool of any size, for tests.
#pragma once

#include <sstream>
#include <string>

// `volumes` volumes of two paths in two groups, some 290 bytes each; no path's name needs a look-up.
inline std::string largeListing(int volumes) {
    std::ostringstream text;
    for (int i = 0; i < volumes; ++i) {
        text << "v" << i << " (36000d3100000000000000" << i << ") dm-" << i << " KORVEL,QVX\n"
             << "size=1G features='1 queue_if_no_path' hwhandler='1 alua' wp=rw\n"
             << "|-+- policy='service-time 0' prio=50 status=active\n"
             << "| `- 1:0:0:" << i << " xa" << i << " 8:16 active ready running\n"
             << "`-+- policy='service-time 0' prio=10 status=enabled\n"
             << "  `- 2:0:0:" << i << " xb" << i << " 8:32 active ready running\n";
    }
    return text.str();
}
