# shellcheck shell=bash
# What every helper script builds on: locale, search path, messages, usage, plain words.
#
# The programs read a script's standard output and standard error as one text, and in places judge it by its
# first character or its number of lines. So a script says nothing that it does not mean to say, and every
# message begins with the script's name, never with a digit.

# Bytes, not characters: names are compared and counted byte by byte whatever the administrator's locale.
export LC_ALL=C
# The stack's tools live in the sbin folders, which cron and service managers leave out.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
umask 022
# A write past the caller's limit of a file's size fails, with a message, instead of ending the script.
trap '' XFSZ

SCRIPT_NAME=${0##*/}
# Exit statuses of every script; a script with statuses of its own says so in its header.
readonly EXIT_FAILED=1 EXIT_USAGE=2

# say TEXT: one line of report.
say() {
    printf '%s\n' "$1"
}

# warn TEXT: one line of complaint; the script goes on.
warn() {
    printf '%s: %s\n' "$SCRIPT_NAME" "$1" >&2
}

# fail TEXT: one line of complaint, then the end.
fail() {
    warn "$1"
    exit "$EXIT_FAILED"
}

# The script's usage without the word "usage"; set by each script.
USAGE=$SCRIPT_NAME

# bad_argument TEXT: the complaint, the usage line (the script's USAGE), exit status 2.
bad_argument() {
    warn "$1"
    printf 'usage: %s\n' "$USAGE" >&2
    exit "$EXIT_USAGE"
}

# answer_help ARGS: a sole -h or --help is answered with the usage line and success.
answer_help() {
    if (($# == 1)) && [[ $1 == -h || $1 == --help ]]; then
        printf 'usage: %s\n' "$USAGE"
        exit 0
    fi
}

# take_no_arguments ARGS: for scripts that are called without any.
take_no_arguments() {
    answer_help "$@"
    (($# == 0)) || bad_argument "takes no arguments"
}

# is_wwid WORD: letters, digits and . _ : -, not beginning with a dash, at most 255 of them.
is_wwid() {
    [[ ${#1} -le 255 && $1 =~ ^[A-Za-z0-9._:][A-Za-z0-9._:-]*$ ]]
}

# is_kernel_name WORD: a block device's name as the kernel gives it (sdb, nvme0n1): no slash, no leading dot.
is_kernel_name() {
    [[ ${#1} -le 64 && $1 =~ ^[A-Za-z0-9][A-Za-z0-9._:!-]*$ ]]
}

# own_file FILE: whether it is a regular file of ours with this one name, and no link.
own_file() {
    local links
    [[ ! -L $1 && -f $1 && -O $1 ]] || return 1
    links=$(stat -c %h -- "$1") || fail "cannot look at $1"
    ((links == 1))
}

# have_tool NAME: whether the host has this command.
have_tool() {
    command -v -- "$1" >/dev/null 2>&1
}

# split_text SEPARATORS TEXT: the parts between them into PARTS. By the shell itself: a here-string would need
# space for a file in /tmp.
split_text() {
    local IFS=$1
    set -f
    # shellcheck disable=SC2206  # cut at the separators
    PARTS=($2)
    set +f
}
