// The audit line: who changed this host, with which command line, and what came of it.
//
// One line of the command log at level 2 for each command that changes the host, refused ones included:
//
//   [2026-01-31 10:15:02.047] INFO  audit 57 user root (login alice) ran [dravik delete mpatha]: Error(0123):
//   The path is being used, can not be deleted.
//
// All of it is printable and bounded, so that no argument can forge a line and none is cut of its newline.
#pragma once

#include "common/result.h"

// Remembers who runs `argv` and defers the signals that would end the process (host/interruption.h). From here to
// `auditResult` or `auditText` a signal that ends the process at once leaves the line too, with the time of this call and
// "ended by signal N"; a SIGKILL or a power cut leaves none.
void beginAudit(int argc, const char *const *argv);

// Write the line, with the text of the record (a success as "Command executed successfully.") or with `text`; before it
// stands "interrupted by signal N, " when a signal is pending.
void auditResult(const s_ecItems *result);
void auditText(const char *text);
