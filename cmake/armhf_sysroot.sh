#!/bin/sh
# Makes a sysroot with what a build for the instrument needs besides the cross compiler: armhf_sysroot.sh <folder>
# ARM packages are downloaded from the mirror that apt uses anyway and only unpacked; apt gets lists of its own for
# that, so the machine's sources and architectures stay as they are. A folder that was made of these packages already
# is left alone.
set -eu
sysroot=$1

arm_packages="libsqlite3-0 libsqlite3-dev libsqlitecpp-dev libtomlplusplus-dev libnss-wrapper"
header_packages="libplog-dev libeigen3-dev"  # the same for all processors, so the installed ones do
made_of="$arm_packages $header_packages"
[ "$(cat "$sysroot/made-of" 2>/dev/null)" != "$made_of" ] || exit 0

mkdir -p "$(dirname "$sysroot")"
work=$(mktemp -d "$sysroot.XXXXXX")
trap 'rm -rf "$work"' EXIT
quietly() {
    "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; echo "$0: could not run: $*" >&2; exit 1; }
}

source=$(apt-get indextargets --format '$(ORIGIN) $(CODENAME) $(REPO_URI)' 'Created-By: Packages' |
    sed -n 's/^Debian \([a-z]*\) \(.*\)/\2 \1/p' | head -n 1)
[ -n "$source" ] || { echo "$0: apt names no Debian mirror to take ARM packages from" >&2; exit 1; }
chmod 755 "$work"
mkdir -p "$work/lists/partial" "$work/new"
echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $source main" >"$work/sources.list"
private="-o APT::Architecture=armhf -o APT::Architectures::=armhf -o Dir::Etc::SourceList=$work/sources.list
         -o Dir::Etc::SourceParts=- -o Dir::State::Lists=$work/lists -o Dir::State::status=/dev/null
         -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User=root -o Acquire::Languages=none"
quietly apt-get $private update
(cd "$work" && quietly apt-get $private download $arm_packages)
for package in "$work"/*.deb; do dpkg -x "$package" "$work/new"; done

dpkg -L $header_packages | grep -E '^/usr/(include|lib|share)/' | while read -r path; do
    [ -d "$path" ] || install -D -m 644 "$path" "$work/new$path"
done

echo "$made_of" >"$work/new/made-of"
chmod 755 "$work/new"
rm -rf "$sysroot"
mv "$work/new" "$sysroot"
