// The systemd journal and syslog.
//
// Both libraries' calls wait for a listener whose queue is full, and a journal that hangs must not stop the monitor: so it
// is looked first whether there is a place in the queue.
#include "monitor/journal_sender.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <vector>

#ifdef DRAVIK_WITH_LIBSYSTEMD
#define SD_JOURNAL_SUPPRESS_LOCATION // the source line of the monitor says nothing about a path
#include <systemd/sd-journal.h>
#endif

#include "common/owned.h"

namespace dravik {

namespace {

constexpr char SYSLOG_SOCKET[] = "/dev/log";

bool isSocket(const char *path) {
    struct stat found = {};
    return stat(path, &found) == 0 && S_ISSOCK(found.st_mode);
}

Delivery sendToSyslog(const JournalEntry &entry) {
    openlog(JOURNAL_IDENTIFIER, 0, LOG_DAEMON);
    syslog(entry.priority, "%s", entry.message.c_str());
    closelog();
    return Delivery::DONE;
}

#ifdef DRAVIK_WITH_LIBSYSTEMD

constexpr char JOURNAL_SOCKET[] = "/run/systemd/journal/socket";

// What passes: a full queue, or a lack of memory or descriptors. Anything else would come back for ever.
bool mayPass(int error) {
    return error == EAGAIN || error == ENOBUFS || error == EINTR || error == ENOMEM || error == EMFILE ||
           error == ENFILE;
}

Delivery sendToSystemd(const JournalEntry &entry) {
    std::vector<iovec> parts;
    parts.reserve(entry.fields.size());
    for (const std::string &field : entry.fields) {
        parts.push_back({const_cast<char *>(field.data()), field.size()}); // only read
    }
    const int result = sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
    return result < 0 && mayPass(-result) ? Delivery::LATER : Delivery::DONE;
}

#endif

Delivery sendIfReady(const char *path, JournalSender send, const JournalEntry &entry) {
    switch (listenerAt(path)) {
    case Listener::READY:
        return send(entry);
    case Listener::BUSY:
    case Listener::GONE:
        return Delivery::LATER;
    case Listener::NOBODY:
        break;
    }
    return Delivery::DONE;
}

} // namespace

Listener listenerAt(const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof(address.sun_path)) {
        return Listener::NOBODY;
    }
    memcpy(address.sun_path, path, strlen(path) + 1);
    const Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.isOpen()) {
        return Listener::BUSY;
    }
    if (connect(fd.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        // A socket whose listener has gone stays behind, and the next one takes its place.
        return errno == ECONNREFUSED && isSocket(path) ? Listener::GONE : Listener::NOBODY;
    }
    // A connected socket can be written to while its peer's queue has a place.
    pollfd writable = {fd.get(), POLLOUT, 0};
    return poll(&writable, 1, 0) == 1 && (writable.revents & POLLOUT) != 0 ? Listener::READY : Listener::BUSY;
}

Delivery sendToJournal(const JournalEntry &entry) {
#ifdef DRAVIK_WITH_LIBSYSTEMD
    // A journal's socket may have been left behind for good where syslog has taken its place.
    const Listener journal = listenerAt(JOURNAL_SOCKET);
    if (journal != Listener::NOBODY &&
        (journal != Listener::GONE || listenerAt(SYSLOG_SOCKET) == Listener::NOBODY)) {
        return sendIfReady(JOURNAL_SOCKET, sendToSystemd, entry);
    }
#endif
    return sendIfReady(SYSLOG_SOCKET, sendToSyslog, entry);
}

} // namespace dravik
