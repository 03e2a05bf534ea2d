# Sourced by the bench's own tests: virtual_bench_selftest.sh, and the bench_host_*.sh tests,
# each of which plays an attacker inside a unit of the virtual bench (usually the tester
# command) and checks that the bench's host side touched nothing of the host. Victims are files
# and directories of the test's own scratch directory.
set -u
src=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
vb=$src/sim/virtual-bench
failures=0
scratch=$(mktemp -d "${TMPDIR:-/tmp}/bench-host-test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
# Every bench command is bounded: a host side that hangs fails the test with status 124.
BENCH_TIMEOUT=${BENCH_TIMEOUT:-120}

# A stand-in slave tester's last step: listen on the bench port until the bench ends.
LISTEN='exec /usr/bin/python3 -c "import socket, time
s = socket.socket(); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind((\"0.0.0.0\", 36888)); s.listen(); time.sleep(600)"'

check() { # DESCRIPTION COMMAND...
    local what=$1
    shift
    if "$@"; then
        echo "ok   - $what"
    else
        echo "FAIL - $what"
        failures=$((failures + 1))
    fi
}

# BENCH_IN: a command prefix the bench runs under (e.g. entering the test's own namespace).
BENCH_IN=()
bench() { "${BENCH_IN[@]}" timeout -k 10 "$BENCH_TIMEOUT" "$vb" "$@"; }

# Runs a bench command with its standard error shown and kept in $scratch/err, its status in
# $rc; a host side that hung fails the test.
attempt() {
    bench "$@" 2>"$scratch/err"
    rc=$?
    cat "$scratch/err" >&2
    check "the host did not hang ($1)" [ "$rc" != 124 ]
}

# Every file and directory below DIR with its type, size, modification time (ns) and content
# hash: two snapshots differ when anything there was written, made or touched.
snapshot() {
    (
        cd "$1" || exit 1
        find . -printf '%p %y %s %T@ %l\n' | sort
        find . -type f -print0 | sort -z | xargs -0r sha256sum
        stat -c '. %Y %y' .
    )
}

# The victim of a test: a directory of this test's with a file of lines that must never be
# printed, written or replaced. Prints the directory.
make_victim() { # NAME
    local dir=$scratch/$1
    mkdir -p "$dir/sim"
    printf 'VICTIM-LINE-%d must stay unread\n' $(seq 1 60) >"$dir/file"
    printf 'plug\n' >"$dir/state"
    cp "$dir/file" "$dir/sim/keep"
    touch -d '2001-02-03 04:05:06' "$dir/file" "$dir/state" "$dir/sim/keep" "$dir/sim" "$dir"
    echo "$dir"
}

# Processes that still hold or name the bench directory DIR: its units' launchers name it on
# their command line, its relays hold descriptors of directories in it.
bench_processes() { # DIR
    local p
    for p in /proc/[0-9]*; do
        [ "${p#/proc/}" = $$ ] && continue
        if tr "\0" " " 2>/dev/null <"$p/cmdline" | grep -qF -- "$1" ||
            ls -l "$p/fd" 2>/dev/null | grep -qF -- "$1"; then
            echo "${p#/proc/}"
        fi
    done
}

# After a bench of directory DIR and id ID has ended: no namespace, registry entry or process
# of it is left.
check_nothing_left() { # DIR ID
    local dir=$1 id=$2
    check "a bench id was found" [ -n "$id" ]
    check "no namespace of the bench is left" \
        bash -c "! ip netns list | awk '{print \$1}' | grep -qE '^vb$id-'"
    check "no registry entry of the bench is left" \
        bash -c "[ ! -e /run/virtual-bench/$id ] && [ ! -e /run/virtual-bench/$id.d ]"
    local left i
    for ((i = 0; i < 100; i++)); do
        left=$(bench_processes "$dir")
        [ -z "$left" ] && break
        sleep 0.1
    done
    check "no process of the bench is left${left:+ (left: $left)}" [ -z "$left" ]
}

# The id of the bench in DIR, taken from the registry (what the units see is theirs to change).
bench_id() { # DIR
    local entry want
    want=$(readlink -f "$1")
    for entry in /run/virtual-bench/*.d; do
        [ "$(head -n1 "$entry/dir" 2>/dev/null)" = "$want" ] && { basename "$entry" .d; return 0; }
    done
    return 1
}

# The id of a bench that already ended, as it wrote it into its directory at the start.
ended_bench_id() { # DIR
    local id
    id=$(head -c 64 "$1/bench-id" 2>/dev/null)
    [[ $id =~ ^[0-9a-f]+$ ]] && echo "$id"
}

finish() {
    echo "$failures failure(s)"
    [ "$failures" = 0 ]
}
