#!/bin/sh
# One session through every menu under valgrind loses no memory: valgrind_every_menu.sh program nss_wrapper-library
set -eu
if ! command -v valgrind >/dev/null; then
    echo "skipped: valgrind is not installed"
    [ -z "${CI:-}" ] || exit 1
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/home"
cd "$folder/home"
echo "operator:x:$(id -u):$(id -g):Operator:$folder/home:/bin/sh" >"$folder/passwd"
echo "operator:x:$(id -g):" >"$folder/group"

# Entry by entry, typed ahead.
cat >"$folder/keys" <<'END'
6 1
1 1 1 3 11

50.2
AUTO
1 2 7 1 3

24

BALANCE
1 2 6 1 3
30d
5x2

ALL
2 1 1 4
24
50.2
SINGLE
2 5 1 4
f

SWEEP
3 1

2


27.7128
27.7128
27.7128
3
10
10
10
9 0
4 1 1 1 6 2
AUTO
2
SINGLE
3
BALANCE
2
no such record
9 yes 9 Y 0
5 60
7 2 7 1
10 1 1 7 9 1
24

10 2 1
12


N1
30 45 30 55 40
70
91 1 2 0
99
9
END
sed -i -e '/^[0-9 Yyes]*$/s/ /\n/g' "$folder/keys"

status=0
LD_PRELOAD=$2 NSS_WRAPPER_PASSWD=$folder/passwd NSS_WRAPPER_GROUP=$folder/group \
    ZERKO_SIM_STATE=$folder/state ZERKO_SIM_TIME_SCALE=0 \
    valgrind --quiet --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite --error-exitcode=9 \
    --log-file="$folder/valgrind" "$1" <"$folder/keys" >"$folder/output" 2>"$folder/errors" || status=$?

# The keys have reached every menu.
for text in "Test Frequency" "Magnetic Balance" "Testing ALL test types" "CT Test" "Tests left: 7" \
    "Calibration has been completed!" "k_lt6375_xv \[7\]\[2\]" "Total count: " "Deleted!" "ERROR: " \
    "Database has been reset!" "Frequency = 60 Hz" "Save RAW Data to File" "DEBUG set to ON" "DEBUG set to OFF" \
    "CTRL+C to cancel" "SHORT TEST TIME" "Measurement board factory reset finished" "Settings have been changed!" \
    "^total: " "^DONE" "Device is shutting shutdown!"; do
    grep -q "$text" "$folder/output" || { echo "missing in the output: $text"; status=1; }
done
[ $status -eq 0 ] || tail -n 60 "$folder/output" "$folder/errors"
cat "$folder/valgrind"
exit $status
