#!/bin/sh
# The program asks the device library for nothing but the contract: library_symbols.sh <nm> <program>
set -eu
cd "$(dirname "$0")/../.."

declared=$(mktemp)
trap 'rm -f "$declared"' EXIT
sed -n 's/^QVL_API .*\(QVL_[A-Za-z0-9_]*\)(.*/\1/p' api/*.h >"$declared"
# Names of C++ routines hold their parameters, so they are given as the library exports them.
cat >>"$declared" <<END
_ZN5Utils9CreateDirERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE
_ZN9TextUtils9copy_safeEPcjRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE
END

# Symbols of the C and C++ runtimes carry a version, those of the device library do not.
imported=$("$1" -D --undefined-only "$2" | awk '$1 == "U" && $2 !~ /@/ { print $2 }')
echo "$imported" | grep -q '^QVL_Lib_Initialize$' || { echo "$2 does not use the device library" >&2; exit 1; }
if undeclared=$(echo "$imported" | grep -vxFf "$declared"); then
    echo "$2 imports what api/ does not declare:" $undeclared >&2
    exit 1
fi
