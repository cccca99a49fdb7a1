// What a word of foreign origin (a listing, a file, an argument, a script's answer) must be before it may stand in
// a shell command line. Everything that could mean something to a shell, or be taken for an option, is refused.
#pragma once

// Letters, digits and . _ : ! , / - ; not empty, not beginning with "-".
bool isPlainWord(const char *word);

// A plain word that is to become a name below /sys or /dev: it holds no "/" either.
bool isPlainDeviceName(const char *name);

// A WWID as `delalias` takes it: letters, digits and . _ : - ; not empty.
bool isPlainWwid(const char *wwid);

// A group policy or a path selector, as the policy scripts print them: letters, digits, "-", "_" and blanks; not
// empty.
bool isPlainPolicy(const char *text);
