// Which distribution this host runs, as a text whose markers the administration commands search for: "Red",
// "Server", "CentOS Linux", "SUSE", "VERSION=", "SP", "11.4".
//
// The text is the raw material of the release files, cut as described here; callers compare it byte by byte
// with the release names they know, so the odd cuts below are part of the contract. The helper scripts read the same
// files by the same rules (scripts/lib/distribution.sh); a test holds the two together.
#pragma once

// The name of the last detection; empty before the first.
extern char hi_linux_os_name[240];

// Detects anew on every call, trying the three readers below in their order, and returns the address of
// `hi_linux_os_name`: "Unknown Linux" when all of them fail. Logs nothing.
char *get_os_name();

// Each returns 0 when it filled the name and 1 otherwise.

// The first line of /etc/oracle-release, or where that is not readable of /etc/redhat-release, without
// "release ", at most 64 characters, up to the first "(". A line without one loses its last character before
// the newline: "Oracle Linux Server release 7.9" gives "Oracle Linux Server 7.".
int read_redhat_release();

// The second line of /etc/os-release as it stands, newline included, at most 64 characters; or, where that
// file is not readable, the first and third line of /etc/SuSE-release, cut to 64 characters.
int read_suse_release();

// The first line of "/usr/bin/lsb_release -d -s", without its quotes.
int read_lsb_release();
