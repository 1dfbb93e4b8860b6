#!/bin/sh
# Includes point down the house, no two rooms include each other, and only one door leads to the keyboard:
# tests/check_house.sh [root]
set -u
cd "${1:-$(dirname "$0")/..}" || exit 2
status=0

# Each room and what it may include besides itself, from the roof to the ground.
rooms='
tester               api tester/service tester/maintenance tester/runs tester/report tester/terminal
tester/service       api tester/terminal
tester/maintenance   api tester/runs tester/report tester/terminal
tester/runs          api tester/report tester/terminal
tester/report        api
tester/terminal      api
simulator            api simulator/device simulator/description simulator/measuring simulator/store simulator/transformer simulator/records
simulator/device     api simulator/description simulator/measuring simulator/store simulator/transformer simulator/records
simulator/description api simulator/measuring simulator/store simulator/transformer simulator/records
simulator/measuring  api simulator/store simulator/transformer simulator/records
simulator/store      api simulator/records
simulator/transformer
simulator/records    api
api
'

complain() {  # what, lines
    [ -n "$2" ] || return 0
    printf '%s\n%s\n\n' "$1" "$2"
    status=1
}

sources() {  # room
    find "$1" -maxdepth 1 -name '*.h' -o -maxdepth 1 -name '*.cpp' -o -maxdepth 1 -name '*.in'
}

while read -r room allowed; do
    [ -n "$room" ] || continue
    files=$(sources "$room")
    [ -n "$files" ] || complain "the room is empty:" "$room"
    allowed="($(echo "$room $allowed" | tr ' ' '|'))/[^/]*"
    complain "$room/ may include $allowed only:" \
        "$(grep -nHE '^[[:space:]]*#[[:space:]]*include[[:space:]]*("|<(api|tester|simulator|tests|bench)/)' $files |
            grep -vE "include[[:space:]]*[\"<]$allowed[\">]")"
done <<END
$rooms
END
known=$(echo "$rooms" | sed 's/ .*//')
complain "these folders are no rooms of the house:" \
    "$(find api tester simulator -name '*.h' -o -name '*.cpp' | sed 's|/[^/]*$||' | sort -u | grep -vxF "$known")"
complain "these product files are named like tests:" \
    "$(find api tester simulator -name '*.h' -o -name '*.cpp' | grep -E '(^|[_/])tests?[_.][^/]*$')"
complain "only tester/terminal/input.cpp names standard input:" \
    "$(grep -rnHE '\<(cin|stdin|getchar|scanf|STDIN_FILENO)\>' tester |
        grep -vE '^tester/terminal/input\.cpp:|^[^:]*:[0-9]+:[[:space:]]*//')"

exit $status
