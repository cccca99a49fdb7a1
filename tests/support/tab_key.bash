# shellcheck shell=bash
# The Tab key as a command, for the tests of the completion and of the texts.

# completes WORD...: what the Tab key offers behind these words, the last of which is being typed. In a shell of its
# own, below a root of the test's.
completes() {
    ROOT=${ROOT-} REPO=$REPO bash -c '
        set -eu
        source "$REPO/completion/dravik.bash"
        _dravik_root=$ROOT
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        _dravik dravik "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"
        ((${#COMPREPLY[@]} == 0)) || printf "%s\n" "${COMPREPLY[@]}"' completes "$@"
}

# One line, single blanks.
flat() { tr -s ' \n' ' ' | sed 's/^ //; s/ $//'; }
