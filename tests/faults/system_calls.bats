#!/usr/bin/env bats
# Every system call of the monitor and of the commands fails once, with each error that fits it.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

# What can go wrong with each call on a host in trouble. Calls that cannot fail there (getpid, rt_sigaction ...) are left out; so
# are close, which an injected error would keep from closing (the kernel releases the descriptor whatever it answers), and
# brk, which does not answer with an error number: refused memory has tests of its own.
declare -gA ERRORS=(
    [openat]='EMFILE EIO' [open]='EMFILE EIO' [read]='EIO EINTR' [pread64]='EIO' [write]='ENOSPC EIO EINTR'
    [pwrite64]='ENOSPC EIO' [newfstatat]='EIO' [fstat]='EIO' [stat]='EIO' [lstat]='EIO' [statx]='EIO'
    [access]='EIO' [faccessat2]='EIO' [readlink]='EIO' [getdents64]='EIO' [mkdir]='ENOSPC' [rename]='EIO'
    [unlink]='EIO' [fsync]='EIO' [fdatasync]='EIO' [ftruncate]='EIO' [flock]='ENOLCK EINTR' [fcntl]='ENOLCK'
    [mmap]='ENOMEM' [munmap]='ENOMEM' [mremap]='ENOMEM' [mprotect]='ENOMEM' [pipe2]='EMFILE'
    [socketpair]='EMFILE' [socket]='EMFILE' [connect]='ECONNREFUSED' [clone]='EAGAIN' [clone3]='EAGAIN' [fork]='EAGAIN'
    [vfork]='EAGAIN' [wait4]='EINTR' [poll]='EINTR ENOMEM' [ppoll]='EINTR ENOMEM' [dup2]='EBUSY' [dup3]='EBUSY'
    [sendto]='EPIPE ENOBUFS EINTR' [lseek]='EINVAL' [fchmod]='EPERM' [chmod]='EPERM' [fchown]='EPERM'
    [chown]='EPERM' [ioctl]='EIO' [nanosleep]='EINTR' [clock_nanosleep]='EINTR' [prlimit64]='EPERM' [chdir]='EACCES'
    [getrandom]='ENOSYS' [sysinfo]='EFAULT' [uname]='EFAULT')

# faulty_calls TRACE MARK: "NAME NUMBER ERROR" for each call behind the mark and each error that fits it.
faulty_calls() {
    local name number error
    while read -r name number; do
        for error in ${ERRORS[$name]-}; do echo "$name $number $error"; done
    done < <(calls_after "$1" "$2")
}

@test "the monitor whose system call fails, whichever it is, writes nothing false and catches up" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    A_LINE_MAY_BE_LOST=1
    local name number error
    fresh_dumps
    traced "$BATS_TEST_TMPDIR/trace" "${MONITOR[@]}"
    # The last cycle shows that it has caught up: no fault comes there.
    sed -i '/"\/sim\/said.3"/,$d' "$BATS_TEST_TMPDIR/trace"
    while read -r name number error; do
        fresh_dumps
        attempt "monitor, $name $number $error" \
            strace -qq -o /dev/null -e "trace=$name" -e "inject=$name:error=$error:when=$number" "${MONITOR[@]}"
        ((STATUS == 0)) || found wrong "monitor, $name $number $error: exit status $STATUS, $(tail -n 1 "$ERR")"
        judge_cycles "monitor, $name $number $error"
    done < <(faulty_calls "$BATS_TEST_TMPDIR/trace" "$PROGRAM_BEGINS" | sampled 30)
    count "system calls of the monitor, with their errors"
}

# under_failing_calls OLD NEW SAMPLES COMMAND...
under_failing_calls() {
    local old=$1 new=$2 samples=$3 name number error where
    shift 3
    set_conf "$old"
    traced "$BATS_TEST_TMPDIR/trace" "$@"
    while read -r name number error; do
        set_conf "$old"
        where="${*:${#ENTRY[@]}+2}, $name $number $error"
        attempt "$where" strace -qq -o /dev/null -e "trace=$name" -e "inject=$name:error=$error:when=$number" "$@"
        case $STATUS in
        0 | 1 | 4 | 124 | 13[0-9]) ;;
        *) found wrong "$where: exit status $STATUS, $(tail -n 1 "$ERR")" ;;
        esac
        judge_conf "$where" "$old" "$new"
        judge_backup "$where" "$old"
        judge_log "$HOST/dumps/dravik_cli.log" "$where"
    done < <(faulty_calls "$BATS_TEST_TMPDIR/trace" "$PROGRAM_BEGINS" | sampled "$samples")
}

@test "a command whose system call fails, whichever it is, ends with a result and leaves whole files" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    local old new command
    succeeds config
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    for command in 'setpathpolicy -chooser round-robin-extend' "setalias -wwid $A -alias backup" \
        "delalias -wwid $A" '--service mkconfig' config; do
        set_conf "$old"
        undisturbed "$command"
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        # shellcheck disable=SC2086
        under_failing_calls "$old" "$new" 6 "${ENTRY[@]}" dravik $command
        old=$new
    done
    for command in query 'query mpatha' lsalias lspathpolicy status port \
        'setstate -path_alias mpatha -device_name sdb -state offline'; do
        # shellcheck disable=SC2086 # the words of the command
        under_failing_calls "$old" "$old" 4 "${ENTRY[@]}" dravik $command
    done
    count "system calls of the commands, with their errors"
}
