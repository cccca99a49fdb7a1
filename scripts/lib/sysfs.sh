# shellcheck shell=bash
# Reading the kernel's one-line files, without a process for each.

# class_value FILE: its first line into VALUE, without blanks at its end; empty where it cannot be read.
class_value() {
    VALUE=''
    [[ -r $1 && ! -d $1 ]] || return 0
    { IFS='' read -r VALUE <"$1"; } 2>/dev/null || true
    while [[ $VALUE == *[[:space:]] ]]; do VALUE=${VALUE%?}; done
}
