#!/usr/bin/env bash
# The bench compares the host's routing tables when it is taken down and fails on a change. The
# host's own routes are never touched here: the whole bench runs inside a network namespace this
# test made, which is its "host", and the test adds a route there while the bench runs.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

host=benchhost-$$
ip netns add "$host" || { echo "FAIL - cannot make the test's namespace $host"; exit 1; }
trap 'ip netns del "$host" 2>/dev/null; rm -rf "$scratch"' EXIT
ip -n "$host" link set lo up
BENCH_IN=(nsenter --net="/run/netns/$host" --)
# The unit under test waits for the test's go before it ends.
wait_for_go='touch "$VIRTUAL_BENCH_DIR/running"; while [ ! -e "$VIRTUAL_BENCH_DIR/go" ]; do sleep 0.1; done'
wait_running() { # DIR
    for ((i = 0; i < 300; i++)); do [ -e "$1/running" ] && return 0; sleep 0.1; done
    return 1
}

# 1. Nothing changes: the run succeeds (the comparison does not fail by itself).
dir=$scratch/quiet
attempt run --dir "$dir" -- /bin/true
check "a bench whose host's routes stay the same succeeds" [ "$rc" = 0 ]

# 2. A route appears while run runs: exit 3, the difference printed, nothing written into the
#    bench directory for it.
dir=$scratch/run
bench run --dir "$dir" -- /bin/sh -c "$wait_for_go" 2>"$scratch/err" &
runner=$!
check "the command runs" wait_running "$dir"
id=$(bench_id "$dir")
ip -n "$host" route add blackhole 203.0.113.0/24
touch "$dir/go"
wait "$runner"
rc=$?
cat "$scratch/err"
check "the host did not hang" [ "$rc" != 124 ]
check "a changed host fails the run with 3" [ "$rc" = 3 ]
check "the change is reported" grep -q "the host's network changed while the bench ran" "$scratch/err"
check "the new route is printed" grep -q "+ blackhole 203.0.113.0/24" "$scratch/err"
check "nothing about it is written into the bench directory" \
    bash -c "! ls -A '$dir' | grep -q network"
check_nothing_left "$dir" "$id"

# 3. A route goes while a started bench is up: stop exits 3.
dir=$scratch/started
attempt start --dir "$dir" >/dev/null
check "start succeeds" [ "$rc" = 0 ]
id=$(bench_id "$dir")
ip -n "$host" route del blackhole 203.0.113.0/24
attempt stop "$dir"
check "a changed host fails stop with 3" [ "$rc" = 3 ]
check "the route that went is printed" grep -q -- "- blackhole 203.0.113.0/24" "$scratch/err"
check_nothing_left "$dir" "$id"
finish
