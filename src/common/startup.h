// What both programs do first.
#pragma once

// Puts right what a careless parent may have handed down, because the commands and their children rely on it:
//   - descriptors 0 to 2 that are closed are opened on /dev/null: a log or lock file must not take their place
//   - no signal is blocked; SIGCHLD (an ignored one hides exit statuses), SIGPIPE and SIGALRM act as usual.
//     SIGHUP and SIGINT stay ignored where they are: nohup and background jobs mean it
//   - files are created without write permission for group and others
//   - children speak the plain C locale and list files in its style: their output is read by its words and
//     columns
void resetProcess();
