# shellcheck shell=bash
# The helper scripts on a simulated host, run as the programs run them. Loaded behind simulated_host.

# make_script_host [OPTIONS of "simhost build"]: a host with the scripts of this checkout and nothing else.
make_script_host() {
    make_empty_host "$@"
    cp -r "$REPO/scripts" "$HOST/usr/bin/dravik-script"
}

# script NAME ARGS...: with its standard error in its output.
script() {
    local name=$1
    shift
    in_host bash "/usr/bin/dravik-script/$name.sh" "$@" 2>&1
}

# set_limit NAME CONSTANT SECONDS: a shorter time limit in the host's copy of a script, so that a test need not wait.
set_limit() {
    local file=$HOST/usr/bin/dravik-script/$1.sh
    grep -q "^readonly $2=" "$file"
    sed -i "s/^readonly $2=.*/readonly $2=$3/" "$file"
}

# stand_in NAME: a tool of the host's from standard input.
stand_in() {
    cat >"$HOST/usr/sbin/$1"
    chmod 755 "$HOST/usr/sbin/$1"
}

# answers STATUS TEXT: what "run" returned, whole.
answers() {
    # shellcheck disable=SC2154 # both set by run
    same "$1: $2" "$status: $output"
}
