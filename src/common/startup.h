// What both programs do first.
#pragma once

// Where children look for the host's tools. Folders of the system alone: what lies in them is root's.
constexpr char SYSTEM_PATH[] = "/usr/sbin:/usr/bin:/sbin:/bin";

// Puts right what a careless or hostile parent may have handed down, because the program and its children rely on it:
//   - descriptors 0 to 2 that are closed are opened on /dev/null: a log or lock file must not take their place
//   - no signal is blocked; SIGCHLD (an ignored one hides exit statuses), SIGPIPE and SIGALRM act as usual.
//     SIGHUP and SIGINT stay ignored where they are: nohup and background jobs mean it. SIGXFSZ is ignored: a write
//     past a limit fails instead of ending the process
//   - no limit of file size or processor time, as far as the process may lift it
//   - files are created without write permission for group and others
//   - the working folder is "/": one that has been removed makes shells complain into their output. The caller's is
//     remembered for names that he gives (common/callers_folder.h)
//   - the environment holds SYSTEM_PATH as PATH, LC_ALL=C (children's output is read by its words and columns) and,
//     where they were set:
//       DRAVIK_CLI_DEBUG                       the log's debug lines
//       TERM, NO_COLOR, COLUMNS                what the caller's terminal can show
//       TZ                                     the local time of the logs
//       POSIXLY_CORRECT                        the unit of `devstats`
//       SUDO_USER, SUDO_UID                    who is behind root, for the audit line
//       NOTIFY_SOCKET, WATCHDOG_USEC, WATCHDOG_PID, JOURNAL_STREAM
//                                              the service manager's side of the monitor, which takes the first three
//                                              away before it starts a child (monitor/service_state.h)
//     Nothing else of the caller's reaches a child.
void resetProcess();
