# shellcheck shell=bash
# The base of a simulated host: the tools of this machine that command lines and scripts use, with their libraries.

# What the programs and their scripts call, and what a person at a shell expects to find.
BASE_TOOLS=(
    awk basename bash cat chmod chown chroot cksum cmp comm cp cut date dd df diff dirname du echo env expand expr
    false find flock fold getconf grep egrep gzip head hostname id kill ln ls md5sum mkdir mkfifo mknod mktemp mv nl nohup
    od paste printf pwd readlink realpath rm rmdir sed seq sha256sum sleep sort split stat stty sync tail tar tee test
    timeout touch tr true truncate uname uniq wc which xargs yes
)

# librariesOf FILE...: prints every library and loader that the programs need, each once. A script or a static
# program needs none, which ldd calls an error.
librariesOf() {
    { ldd "$@" 2>/dev/null || true; } | awk -f "${BASH_SOURCE[0]%/*}/libraries.awk"
}

# addLibraries DIR FILE...: copies them into the folder where the loader looks without a cache, next to the C library.
addLibraries() {
    local dir=$1 library libraryDir=lib
    local -a ordinary=()
    shift
    while IFS='' read -r library; do
        case $library in
        */ld-linux* | */ld64.so*) cp -L -n "$library" "$dir$library" ;;
        ?*) ordinary+=("$library") ;;
        esac
        [[ $library == */libc.so.* ]] && libraryDir=${library%/*}
    done < <(librariesOf "$@")
    if ((${#ordinary[@]} > 0)); then
        mkdir -p "$dir/$libraryDir"
        cp -L -n "${ordinary[@]}" "$dir/$libraryDir/"
    fi
}

# makeBase DIR: folders, tools and libraries in a new folder.
makeBase() {
    local dir=$1 tool path name
    local -a found=()
    mkdir -p "$dir"/usr/{bin,sbin,lib,lib64,libexec,share} "$dir"/{root,run/lock,var/log,var/lib}
    mkdir -m 1777 "$dir/tmp" "$dir/var/tmp"
    for name in bin sbin lib lib64; do ln -s "usr/$name" "$dir/$name"; done
    for tool in "${BASE_TOOLS[@]}"; do
        path=$(type -P "$tool") || continue
        cp -L "$path" "$dir/usr/bin/$tool"
        found+=("$path")
    done
    # The scripts are written for the shell of the supported distributions.
    cp "$dir/usr/bin/bash" "$dir/usr/bin/sh"
    addLibraries "$dir" "${found[@]}"
}

# addBase DIR: the base in an existing empty folder, from the cache under $SIMHOST_CACHE where that is set.
addBase() {
    local dir=$1 key cached
    if [[ ! ${SIMHOST_CACHE-} ]]; then
        makeBase "$dir"
        return
    fi
    # Another set of tools, or tools that were updated, make another base.
    key=$({
        declare -f makeBase addLibraries
        echo "${BASE_TOOLS[*]}"
        stat -L -c %Y "$(type -P bash)" "$(type -P ls)"
    } | cksum)
    cached=$SIMHOST_CACHE/base-${key%% *}
    if [[ ! -d $cached ]]; then
        mkdir -p "$SIMHOST_CACHE"
        makeBase "$cached.$$"
        # Another one may have finished first; then that one serves.
        mv -T "$cached.$$" "$cached" 2>/dev/null || rm -rf "$cached.$$"
    fi
    cp -a --reflink=auto "$cached/." "$dir/"
}
