#!/bin/sh
# Includes point down the house, and only one door leads to the keyboard: tests/check_house.sh [root]
set -u
cd "${1:-$(dirname "$0")/..}" || exit 2
status=0

folders='api|tester|simulator|tests|bench'

complain() {  # what, lines
    [ -n "$2" ] || return 0
    printf '%s\n%s\n\n' "$1" "$2"
    status=1
}

# includes of our own headers in the files given that do not start as allowed
foreign_includes() {  # allowed, files...
    allowed=$1
    shift
    [ $# -gt 0 ] || return 0
    grep -nHE "^[[:space:]]*#[[:space:]]*include[[:space:]]*(\"|<($folders)/)" "$@" |
        grep -vE "include[[:space:]]*[\"<]($allowed)"
}

sources() {  # folder
    [ ! -d "$1" ] || find "$1" -name '*.h' -o -name '*.cpp' -o -name '*.inc'
}

check_folder() {  # folder, allowed
    complain "$1/ may include $2 only:" "$(foreign_includes "$2" $(sources "$1"))"
}

check_folder api 'api/'
check_folder tester 'api/|tester/'
for room in terminal report service runs maintenance; do
    case $room in
    service) below='tester/terminal/|' ;;
    runs) below='tester/report/|tester/terminal/|' ;;
    maintenance) below='tester/runs/|tester/report/|tester/terminal/|' ;;
    *) below= ;;
    esac
    check_folder tester/$room "api/|${below}tester/$room/"
done
check_folder simulator 'api/|simulator/'
below=
for room in records transformer store measuring description device; do
    below="${below}simulator/$room/|"
    check_folder simulator/$room "api/|${below%|}"
done

program=$(for folder in api tester; do sources $folder; done)
[ -n "$program" ] || complain "no sources found in" "$PWD"
complain "only tester/terminal/input.cpp names standard input:" \
    "$(grep -nHE '\<(cin|stdin|getchar|scanf|STDIN_FILENO)\>' $program | grep -vE '^tester/terminal/input\.cpp:|^[^:]*:[0-9]+:[[:space:]]*//')"

exit $status
