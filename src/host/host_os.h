// What the host's distribution and kernel mean to the administration commands.
#pragma once

// SUSE Linux Enterprise Server 11 SP4, by its name from /etc/os-release: "VERSION=" and "11.4".
bool isSuse11Sp4(const char *os_name);

// True on a SysV host, which is administered with "service" and "chkconfig": a kernel release with ".el6."
// (the RHEL 6 family), else SUSE 11 SP4. False on every other host: "systemctl". Asks the kernel and the
// release files anew on every call. Prints "get os version error" as a line when the kernel does not answer,
// and goes on with an empty release.
bool isSysVHost();

// Whether the distribution named `os_name` (see common/os_name.h) supports NVMe over Fabrics: RHEL and CentOS
// from 8.0, SUSE from 12 SP6 by its os-release name, after "12 PATCHLEVEL = 6" by the older one. Names are
// compared byte by byte, as in the helper scripts (nvme_capable in scripts/lib/distribution.sh).
bool isNvmeCapableOs(const char *os_name);
