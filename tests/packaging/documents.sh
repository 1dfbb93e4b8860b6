#!/bin/sh
# Types the commands that the documents tell of, those of the checkout and those of the installed programs, and follows
# every link: documents.sh <build folder> <nss_wrapper library>
#   A command that names another preset is tried by that preset's tests. scripts/test is what runs this.
set -eu
build=$1
preset=${build##*/}
nss_wrapper=$2
[ "$preset" = host ] || nss_wrapper=  # a library for another processor, and those commands start no program
cd "$(dirname "$0")/../.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "documents: $*" >&2
    exit 1
}
before=$(git status --porcelain 2>/dev/null || true)

mkdir -p "$work/home" "$work/bin"
printf 'operator:x:%s:%s:Operator:%s:/bin/sh\n' "$(id -u)" "$(id -g)" "$work/home" >"$work/passwd"
printf 'operator:x:%s:\n' "$(id -g)" >"$work/group"
# Installing is done below a folder of its own, and without asking for a password.
printf '#!/bin/sh\nexec "$@"\n' >"$work/bin/sudo"
cat >"$work/bin/apt" <<END
#!/bin/sh
action=\$1
shift
[ "\$action" = install ] || exit 0
for package; do dpkg-deb --extract "\$package" "$work/tree"; done
END
chmod +x "$work"/bin/*

# The commands of a page: its code blocks of sh, and of a manual page its examples.
commands_of() {
    case $1 in
    *.md) sed -n '/^```sh$/,/^```$/ { /^```/!p }' "$1" ;;
    *) sed -n '/^\.SH EXAMPLES/,/^\.SH SEE/p' "$1" | sed -n '/^\.nf/,/^\.fi/ { /^\./!p }' | sed 's/\\-/-/g; s/\\e/\\/g' ;;
    esac
}

# Types them, one after another, in a shell of the operator's. Where a program asks for input it is told to end.
type_commands() {  # page
    commands_of "$1" | sed -e '/^scripts\/test/d' -e "s|/usr/share/|$work/tree/usr/share/|g" -e "s|/path/to/|$build/lib/|g" |
        if [ "$preset" = armhf ]; then grep -E 'armhf|build/instrument' || true; else grep -vE 'armhf|build/instrument'; fi >"$work/commands"
    [ -s "$work/commands" ] || return 0
    yes 0 | env -u ZERKO_SIM_INSTRUMENT -u ZERKO_SIM_STATE -u XDG_STATE_HOME HOME="$work/home" \
        NSS_WRAPPER_PASSWD="$work/passwd" NSS_WRAPPER_GROUP="$work/group" LD_PRELOAD="$nss_wrapper" \
        PATH="$work/bin:$work/tree/usr/bin:$PATH" MANPATH="$work/tree/usr/share/man" \
        timeout 800 sh -euc ". '$work/commands'" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "$1: a command failed"; }
}

follow_links() {  # page, root of absolute links
    sed -n '/^```/,/^```/!p' "$1" | grep -oE '\]\([^)]+\)' | sed 's/^](//; s/)$//' | while read -r link; do
        case $link in
        http*) continue ;;
        /*) target=$2$link ;;
        '#'*) target=$1$link ;;
        *) target=$(dirname "$1")/$link ;;
        esac
        [ -e "${target%%#*}" ] || fail "$1: the link $link leads nowhere"
        case $link in
        *'#'*) grep -E '^#+ ' "${target%%#*}" | tr 'A-Z' 'a-z' | sed 's/^#* //; s/[^a-z0-9 _-]//g; s/ /-/g' |
            grep -qx -- "${link#*#}" || fail "$1: the link $link names no heading" ;;
        esac
    done
}

rm -rf "$build/packaging"  # made along with the program: packages can be made right after scripts/run
type_commands README.md
[ "$preset" = host ] || exit 0

for page in README.md CONTRIBUTING.md docs/*.md docs/guide/*.md; do follow_links "$page" ""; done
for page in docs/guide/*.md; do
    type_commands "$page"
    for instrument in $(sed -n 's/^<!-- session: \(.*, \)*instrument \([^, ]*\).*/\2/p' "$page"); do
        commands_of "$page" | grep -q "simulator/instruments/$instrument" || fail "$page does not say how to start $instrument"
    done
done

# As installed by the README's commands.
find "$work/tree/usr/share/doc" -name '*.md' >"$work/pages"
[ "$(wc -l <"$work/pages")" -gt 15 ] || fail "the packages hold too few pages"
while read -r page; do
    follow_links "$page" "$work/tree"
    sed -i "s|$work/tree||g" "$page"
    type_commands "$page"
done <"$work/pages"
for page in packaging/*.[17]; do
    type_commands "$page"
    type_commands "$page"  # what was typed can be typed again
done
[ "$(git status --porcelain 2>/dev/null || true)" = "$before" ] || fail "the checkout is not as it was:" "$(git status --porcelain)"
