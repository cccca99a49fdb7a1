# shellcheck shell=bash
# Reading and changing the stack's configuration file: under one lock, checked, replaced at once.
#
# The way of a change: conf_lock, conf_load FILE, conf_check; conf_transform PROGRAM as often as needed;
# conf_store. A PROGRAM is the name of an awk file of this folder, which conf_scan.awk reads the text for.
# Whatever a program does not touch stays byte for byte, line ends and a missing last line feed included.
# Needs base.sh, lock.sh, replace_file.sh and the folder's place in LIB.

readonly CONF_MAX_BYTES=$((16 << 20))
CONF_FILE='' CONF_TEXT='' CONF_OLD_TEXT='' CONF_EXISTS=''

# conf_lock: no other helper script edits a configuration file until the end of this one or lock_release.
conf_lock() {
    lock_take velomux.conf 30
}

# conf_load FILE: fills CONF_FILE (FILE with its symbolic links followed, so that a link stays a link),
# CONF_TEXT and CONF_EXISTS (1 or empty: a missing file reads as an empty text).
conf_load() {
    CONF_FILE=$(readlink -f -- "$1") || fail "$1 leads nowhere"
    CONF_TEXT='' CONF_EXISTS=''
    if [[ -e $CONF_FILE ]]; then
        read_whole "$CONF_FILE" "$CONF_MAX_BYTES"
        CONF_TEXT=$WHOLE_TEXT
        CONF_EXISTS=1
    fi
    CONF_OLD_TEXT=$CONF_TEXT
}

# conf_awk PROGRAM: runs the program on CONF_TEXT; output and status are the program's.
conf_awk() {
    printf '%s\n' "$CONF_TEXT" | awk -f "$LIB/conf_scan.awk" -f "$LIB/$1.awk"
}

# conf_check: ends the script when the text cannot be understood: nobody can tell where a change belongs then.
conf_check() {
    local message
    message=$(conf_awk conf_check) ||
        fail "$CONF_FILE cannot be edited: ${message:-awk failed}; it is left as it is"
}

# conf_transform PROGRAM: CONF_TEXT becomes what the program prints. Returns the program's status, CONF_TEXT
# unchanged when that is not 0; status 3 (broken text) and awk's own failures end the script with a message.
conf_transform() {
    local output status=0
    output=$(conf_awk "$1" && printf x) || status=$?
    case $status in
        0)
            [[ $output == *$'\n'x ]] || fail "$CONF_FILE: awk printed half a text; the file is left as it is"
            CONF_TEXT=${output:0:${#output}-2}
            ;;
        4 | 5 | 7) ;;
        *) fail "$CONF_FILE cannot be edited: ${output:-awk failed}; it is left as it is" ;;
    esac
    return "$status"
}

# conf_changed: whether there is anything to store.
conf_changed() {
    [ "$CONF_TEXT" != "$CONF_OLD_TEXT" ] || [[ -z $CONF_EXISTS ]]
}

# conf_close: takes the permission to write from group and others, which mkconfig gives them. Where that fails the text
# is right all the same.
conf_close() {
    local mode
    mode=$(stat -c %a -- "$CONF_FILE") || fail "cannot look at $CONF_FILE"
    (((8#$mode & 8#22) == 0)) || chmod -- go-w "$CONF_FILE" 2>/dev/null || warn "$CONF_FILE stays open for others to write"
}

# conf_store: makes CONF_TEXT the file's text, or ends the script with the file unchanged. An unchanged text
# writes nothing.
conf_store() {
    if ! conf_changed; then
        conf_close
        return
    fi
    conf_check
    if [[ -n $CONF_EXISTS ]]; then
        # The lock binds only these scripts: an administrator's editor may have saved in between.
        holds_text "$CONF_FILE" "$CONF_OLD_TEXT" ||
            fail "$CONF_FILE was changed by somebody else meanwhile; it is left as it is, try again"
    elif [[ -e $CONF_FILE ]]; then
        fail "$CONF_FILE was created by somebody else meanwhile; try again"
    fi
    replace_file "$CONF_FILE" "$CONF_TEXT" 0644
}
