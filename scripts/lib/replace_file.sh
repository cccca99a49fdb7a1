# shellcheck shell=bash
# Replacing a file so that whoever opens it at any instant, even after a kill or a power cut, finds the whole
# old text or the whole new one.

# read_whole FILE MAX_BYTES: puts the file's text into WHOLE_TEXT, byte for byte. Fails with a message when
# the file cannot be read, is larger than MAX_BYTES, or holds NUL bytes (which a shell cannot carry).
read_whole() {
    local file=$1 max=$2 size
    [[ -f $file ]] || fail "$file is no regular file"
    size=$(wc -c <"$file") || fail "cannot read $file"
    ((size <= max)) || fail "$file holds $size bytes; more than $max is not believed to be right"
    # The x keeps the line feeds at the end, which a command substitution would drop.
    { WHOLE_TEXT=$(cat -- "$file" && printf x); } 2>/dev/null || fail "cannot read $file"
    WHOLE_TEXT=${WHOLE_TEXT%x}
    # A different length means NUL bytes were dropped, or somebody writes the file in place right now.
    ((${#WHOLE_TEXT} == size)) || fail "$file holds NUL bytes or is being written; it is left as it is"
}

# holds_text FILE TEXT: whether the file's text is TEXT, byte for byte.
holds_text() {
    local text
    { text=$(cat -- "$1" && printf x); } 2>/dev/null || return 1
    # The old test: [[ ]] would make a pattern of a text of megabytes first.
    [ "$text" = "$2x" ]
}

# replace_file FILE TEXT MODE: gives FILE the new TEXT. An existing file keeps owner, mode, access lists and security
# label, less the permission to write of group and others; a new one gets MODE. The new text is written to a hidden
# file beside FILE (one fixed name, so that a kill leaves at most one, which the next call overwrites), read back,
# brought to the disk and renamed. FILE must be no symbolic link (the link would be replaced, not its target). On
# failure FILE is unchanged, the hidden file is gone, and the script ends with a message. The caller holds a lock.
replace_file() {
    put_file "$1" "$2" "$3" "$1"
}

# replace_by_own_file FILE TEXT MODE: the same, but an existing file keeps nothing: the new one is the caller's.
replace_by_own_file() {
    put_file "$1" "$2" "$3" ''
}

# put_file FILE TEXT MODE MODEL: owner, mode and so on come from the file MODEL, where there is one.
put_file() {
    local file=$1 text=$2 mode=$3 model=$4
    local fresh="${file%/*}/.${file##*/}.dravik-new"
    if ! rm -f -- "$fresh" ||
        ! make_like "$model" "$fresh" "$mode" ||
        ! { printf '%s' "$text" >"$fresh"; } ||
        ! holds_text "$fresh" "$text" ||
        ! sync_file "$fresh" ||
        ! mv -fT -- "$fresh" "$file"; then
        rm -f -- "$fresh"
        fail "cannot write $file (is the disk full or read-only?); it is left as it was"
    fi
    sync_folder "${file%/*}"
}

# An empty file is never the only place of the mode and the label: they come with the copy.
make_like() {
    local model=$1 fresh=$2 mode=$3
    if [[ -e $model ]]; then
        cp --preserve=all -- "$model" "$fresh" && chmod -- go-w "$fresh"
    else
        (umask 077 && : >"$fresh") && chmod -- "$mode" "$fresh"
    fi
}

# dd is the one old tool that brings a single file to the disk and reports the failure; "sync" with a file
# name is newer than the oldest supported hosts, and a sync of the whole host may hang on a dead device.
sync_file() {
    dd if=/dev/null of="$1" conv=notrunc,fsync 2>/dev/null
}

# Without this a power cut right after the rename may bring the old file back, whole.
sync_folder() {
    if [[ $(sync --help 2>/dev/null) == *--file-system* ]]; then
        sync -- "$1" 2>/dev/null || true
    fi
}
