#!/bin/sh
# Builds the packages, checks them, installs them into a clean folder tree, runs the program there and removes them:
#   packages.sh <build folder> <nss_wrapper library> [emulator ...]
set -eu
build=$1
nss_wrapper=$2
shift 2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "packages: $*" >&2
    [ ! -s "$work/log" ] || cat "$work/log" >&2
    exit 1
}
quietly() {
    "$@" >"$work/log" 2>&1 || fail "failed: $*"
}

# Versions of a runtime's symbols that a program needs: symbols_of <prefix> <program>
symbols_of() {
    objdump -p "$2" | grep -oE "\<$1_[0-9.]+" | sort -uV
}

# A package may state a newer C library than its program needs, never an older one.
check_c_library() {  # package file, program
    stated=$(dpkg-deb -f "$1" Depends | sed -n 's/.*libc6 (>= \([0-9.]*\)).*/\1/p')
    needed=$(symbols_of GLIBC "$2" | tail -n 1)
    dpkg --compare-versions "$stated" ge "${needed#GLIBC_}" || fail "$1 wants libc6 $stated, $2 needs $needed"
}

as_root=
[ "$(id -u)" -eq 0 ] || as_root=fakeroot
in_tree() {
    $as_root dpkg --root="$tree" --force-not-root --force-depends --force-architecture --log=/dev/null "$@"
}

# Everything but dpkg's own records and what the operator made.
program_files() {
    find "$tree" -mindepth 1 -path "$tree/var" -prune -o -path "$home" -prune -o -print
}

# A session typed at the program under a home folder of its own: run <program> <library folder> [emulator ...]
run() {
    program=$1
    folder=$2
    shift 2
    printf 'operator:x:%s:%s:Operator:%s:/bin/sh\n' "$(id -u)" "$(id -g)" "$home" >"$work/passwd"
    printf 'operator:x:%s:\n' "$(id -g)" >"$work/group"
    settings="NSS_WRAPPER_PASSWD=$work/passwd NSS_WRAPPER_GROUP=$work/group ZERKO_SIM_STATE=$work/state
              ZERKO_SIM_TIME_SCALE=0 LD_LIBRARY_PATH=$folder"
    if [ $# -gt 0 ]; then
        set -- env $settings "$@" -E "LD_PRELOAD=$nss_wrapper" "$program"
    else
        set -- env $settings "LD_PRELOAD=$nss_wrapper" "$program"
    fi
    printf '99\n1\n2\n1\n1\n3\n11\nA\n50\n%s\n0\n' "$test_id" | timeout 60 "$@" >"$work/log" 2>&1
}

check_session() {
    for line in 'DELETED ATTACHEMENT' 'Tests left: 0' END; do
        grep -qx "$line" "$work/log" || fail "the session does not show \"$line\""
    done
    [ -s "$(echo "$home"/Documents/ZERKO/test-results/*-"$test_id".csv)" ] || fail "no result file of $test_id"
}

quietly cpack --config "$build/CPackConfig.cmake" -B "$work/packages"
packages=$(ls "$work"/packages/*.deb)
quietly lintian --allow-root --fail-on error $packages

tree=$work/tree
home=$tree/home/operator
mkdir -p "$tree/var/lib/dpkg/info" "$tree/var/lib/dpkg/updates" "$home"
: >"$tree/var/lib/dpkg/status"
before=$(program_files)
quietly in_tree --install $packages

program=$tree/usr/bin/console-tester
# An empty entry of a run path is the current folder, whatever lies there.
for built in "$program" "$build/bin/console-tester"; do
    objdump -p "$built" | grep -q 'RUNPATH *$ORIGIN/../lib/zerko-console-tester$' || fail "$built has another run path"
done
for package in $packages; do
    for file in "$program" "$tree"/usr/lib/zerko-console-tester/*.so; do
        case $(dpkg-deb -c "$package") in *"${file#"$tree"/}"*) check_c_library "$package" "$file" ;; esac
    done
done

# A package for the instrument brings no device library. Without any the loader says which file it misses.
library_folder=
if [ ! -e "$tree/usr/lib/zerko-console-tester" ]; then
    library_folder=$build/lib
    status=0
    test_id=none run "$program" "" "$@" || status=$?
    [ $status -eq 127 ] || fail "without a device library the exit status is $status"
    grep -q 'libqvl-embedded-api.so' "$work/log" || fail "the loader does not name the missing library"
fi

test_id=INSTALLED
run "$program" "$library_folder" "$@" || fail "the installed program fails"
check_session

quietly in_tree --purge $(for package in $packages; do dpkg-deb -f "$package" Package; done)
left=$(program_files)
[ "$left" = "$before" ] || fail "left after removal:" "$left"
[ -s "$(echo "$home"/Documents/ZERKO/test-results/*-INSTALLED.csv)" ] || fail "results went with the package"

test_id=COPIED
quietly cmake --install "$build" --prefix "$work/prefix"
run "$work/prefix/bin/console-tester" "$library_folder" "$@" || fail "the program copied by cmake --install fails"
check_session
