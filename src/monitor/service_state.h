// What the monitor tells the service manager of itself: that it is ready, that it is alive, how it is.
//
// The protocol of sd_notify(3), which its manual page describes and invites others to speak: lines "NAME=value" in a
// datagram to the socket that NOTIFY_SOCKET names. These few lines are our own, so that one unit (Type=notify) fits the
// monitor whether or not it was built with libsystemd.
#pragma once

namespace dravik {

// Takes NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID out of the environment: children do not get them, and what they say
// would not be the monitor's. A socket's name begins with "/", or with "@" for an abstract one, and is at most as long as an
// address holds (unix(7)); a watchdog's time is a positive number of microseconds; its process, where one is named, is this
// one. Anything else counts as not set, logged at level 3 (debug) as "Environment variable %s is not usable: [%s].".
void takeServiceVariables();

// Whether somebody listens, and whether he wants to hear that the monitor is alive.
bool hasServiceManager();
bool isWatched();

// Sends `state`, lines "NAME=value"; nothing where nobody listens. It is never waited for, allocates nothing, and what a
// full queue does not take is lost: false, also where nobody listens.
bool tellServiceManager(const char *state);

} // namespace dravik
