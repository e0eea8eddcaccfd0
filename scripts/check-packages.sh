#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Proves that packaging/packages.txt is enough for a fresh machine: each header that was compiled, each library that a
# program loads and each program that scripts and tests call belongs to a package of that list, to one that such a
# package brings along, or to what every Debian machine has.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
cd "$XP_ROOT"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

{
    grep -vE '^\s*(#|$)' packaging/packages.txt
    # shellcheck disable=SC2016
    dpkg-query -W -f '${Package} ${Priority}\n' | sed -n 's/ required$//p'
} | xargs apt-cache depends --recurse --installed --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances | sed -nE 's/^([a-z0-9].*)/\1/p' | sed 's/:.*//' | sort -u >"$work/brought"

# What stands where a shell looks for a program, in scripts and in those that tests hold.
called() {
    {
        cat xp scripts/*.sh | sed "/<<'SYSTEM'/,/^SYSTEM/d" # that is run in a root of its own
        git ls-files 'tests/*.cpp' | xargs awk '/R"sh\(/ { on = 1 } on { print } /\)sh"/ { on = 0 }'
    } | sed -E "s/'[^']*'//g; s/(^|[^\$])#.*//" |
        grep -oE '(^|[|;&(!`]|\b(then|do|else|if|while|until|exec|env|-v|nice|xargs)\b)[[:space:]]*([A-Z_]+=[^[:space:]]*[[:space:]]+)*(timeout [0-9]+ )?[a-z][a-zA-Z0-9_.+-]*' |
        sed -E 's/.*[^a-zA-Z0-9_.+-]//'
    git ls-files 'tests/*.cpp' 'bench/*.cpp' |
        xargs grep -ohE '(runProgram|start|cpuOfProgram)\("[a-zA-Z0-9._+-]+"' | sed -E 's/.*"(.*)"/\1/'
}
{
    ninja -C "$XP_BUILD" -t deps | grep -oE '^ +/usr/.*'
    for program in "$XP_BUILD"/bin/*; do ldd "$program" | grep -oE '/[^ ]+' || true; done
    for word in $(called | sort -u); do type -P "$word" || true; done
} | tr -d ' ' | sort -u | xargs readlink -f | grep -v "^$XP_ROOT" | sort -u >"$work/used"
# On a machine whose /bin is /usr/bin, a package may know its files under either name; one of the two is never found.
{ { cat "$work/used"; sed -n 's|^/usr/|/|p' "$work/used"; } | xargs dpkg -S 2>/dev/null || true; } |
    sed -E 's/(, [^:]*)?(:[a-z0-9]+)?: / /; s| /usr/| /|' | sort -u >"$work/owners"

sed 's|^/usr/|/|' "$work/used" | awk -v owners="$work/owners" -v brought="$work/brought" '
    BEGIN {
        while ((getline < brought) > 0) comes[$1]
        while ((getline < owners) > 0) owner[$2] = $1
    }
    !($1 in owner) { print $1 " is used, but belongs to no package of Debian"; status = 1; next }
    !(owner[$1] in comes) && !told[owner[$1]]++ {
        print $1 " is used, but nothing in packaging/packages.txt brings its package " owner[$1]
        status = 1
    }
    { packages[owner[$1]] }
    END {
        if (!status) print "packages: " NR " files of " length(packages) " packages, all listed or brought along"
        exit status
    }'
