#!/usr/bin/env bats
# Program and scripts find the distribution by the same rules, from the same files, each in its own code
# (src/common/os_name.cpp and src/host/host_os.cpp, scripts/lib/distribution.sh): whatever the files hold, they agree.

load ../support/small_root

setup_file() {
    make_base
    copy_program "${BUILD_DIR:-$REPO/build/release}/distribution" "$BASE" distribution
}
setup() { make_root; }

# they_agree: fails, showing both answers, where the two differ over the root's release files.
they_agree() {
    local program script
    program=$(inside distribution; echo .)
    script=$(inside bash -c 'source /usr/bin/dravik-script/lib/base.sh
        source /usr/bin/dravik-script/lib/distribution.sh
        os_name
        printf "[%s] " "$OS_NAME"
        if nvme_capable; then echo capable; else echo not capable; fi'; echo .)
    [[ $program == "$script" ]] || {
        printf 'program %q\nscript  %q\n' "$program" "$script"
        return 1
    }
}

# release_files FILE TEXT...: these are all of the root's release files; the texts are formats of printf.
release_files() {
    rm -f "$ROOT"/etc/{oracle,redhat,os,SuSE}-release
    while (($# > 0)); do
        # shellcheck disable=SC2059 # a format
        printf "$2" >"$ROOT/etc/$1-release"
        shift 2
    done
}

@test "the releases that hosts have are named and judged alike" {
    local release
    for release in 6.10 7.9 8.0 8.10 9.4 10.0; do
        release_files redhat "Red Hat Enterprise Linux release $release (Name)\n"
        they_agree
        release_files redhat "Red Hat Enterprise Linux Server release $release (Name)\n"
        they_agree
        release_files redhat "CentOS Linux release $release.2009 (Core)\n"
        they_agree
        release_files oracle "Oracle Linux Server release $release\n" redhat "Red Hat Enterprise Linux release $release\n"
        they_agree
    done
    for release in 11.4 12-SP5 12-SP6 15 15-SP4; do
        release_files os "NAME=\"SLES\"\nVERSION=\"$release\"\n"
        they_agree
    done
    for release in 5 6 7; do
        release_files SuSE "SUSE Linux Enterprise Server 12 (x86_64)\nVERSION = 12\nPATCHLEVEL = $release\n"
        they_agree
    done
    release_files
    they_agree
}

@test "release files that nobody would ship are named and judged alike" {
    local long
    printf -v long 'x%.0s' {1..300}
    release_files redhat ''
    they_agree
    release_files redhat '\n'
    they_agree
    release_files redhat '('
    they_agree
    release_files redhat 'release release 8.0 (x'
    they_agree
    release_files redhat "$long\nsecond\n"
    they_agree
    release_files redhat "Red Hat Enterprise Linux ${long:0:37}"
    they_agree
    release_files os 'one line'
    they_agree
    release_files os "$long\nVERSION=\"15-SP4\"\n"
    they_agree
    release_files os '\nVERSION="15-SP4"\n'
    they_agree
    release_files os '\n\n'
    they_agree
    release_files os "${long:0:239}\nVERSION=\"15-SP4\"\n"
    they_agree
    release_files os "ID=x\n$long\n"
    they_agree
    release_files SuSE "\n\n\n"
    they_agree
    release_files SuSE 'SUSE'
    they_agree
    release_files SuSE "(SUSE\nsecond\nthird"
    they_agree
}

@test "random release files are named and judged alike" {
    local -a pieces=('Red Hat ' 'Enterprise Linux ' 'Server ' 'release ' 'CentOS Linux ' 'SUSE ' 'VERSION=' '"' '12-SP6'
        '12 PATCHLEVEL = 6' '8.0' '7.9' '(' ')' '\n' ' ' 'SP' 'x' '11.4')
    local -a kinds=(redhat oracle os SuSE)
    local round text i
    RANDOM=${DRAVIK_TEST_SEED:-7}
    echo "seed ${DRAVIK_TEST_SEED:-7} (DRAVIK_TEST_SEED sets another)"
    for ((round = 0; round < 150; round++)); do
        text=
        for ((i = RANDOM % 9; i >= 0; i--)); do
            text+=${pieces[RANDOM % ${#pieces[@]}]}
        done
        i=$((RANDOM % 4))
        echo "${kinds[i]}: $text"
        release_files "${kinds[i]}" "$text"
        they_agree
    done
}
