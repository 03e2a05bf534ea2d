#!/usr/bin/env bash
# A unit swaps a cable's directory for a link to a host directory that has a "state" file and
# flips it while the cable carries traffic, and plants a pipe, then a link, in place of another
# cable's state file. The relays keep working through their own directory handles: nothing is
# written into the host directory, no relay crashes, a planted state is ignored with a message,
# and "cable" refuses the swapped cable.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

victim=$(make_victim host-dir)
before=$(snapshot "$victim")
dir=$scratch/bench
attack='cd "$VIRTUAL_BENCH_DIR/cables" || exit 1
mv com1 com1.orig
(for i in $(seq 40); do echo traffic >/dev/ttyO0; sleep 0.05; done) &
for i in $(seq 300); do ln -sfn VICTIM com1; ln -sfn com1.orig com1; done
ln -sfn VICTIM com1
wait
rm -f com2/state && mkfifo com2/state && sleep 0.5
rm -f com2/state && ln -s VICTIM/state com2/state && sleep 0.5
echo attack-done'
attack=${attack//VICTIM/$victim}
attempt start --dir "$dir" --tester "$attack; $LISTEN" >/dev/null
check "start succeeds" [ "$rc" = 0 ]
id=$(bench_id "$dir")
relays_alive() {
    local port pid
    for port in com1 com2 com3; do
        read -r pid _ <"/run/virtual-bench/$id.d/pids/relay-$port" || return 1
        kill -0 "$pid" || return 1
    done
}
sleep 1 # the relays' next counter update
check "every relay is still running" relays_alive
check "the swapped cable's relay counted the traffic in its own directory" \
    grep -qE '^tester>dut [1-9]' "$dir/cables/com1.orig/stats"
check "the host directory is unchanged (no stats, applied or temporary files)" \
    [ "$(snapshot "$victim")" = "$before" ]
check "the planted pipe and link were each ignored with one message" \
    [ "$(grep -c 'ignoring the state: not a regular file' "$dir/cables/com2/log")" = 2 ]

attempt cable "$dir" com1 unplug
check "cable refuses the swapped cable with 2" [ "$rc" = 2 ]
check "cable says why" grep -q "no bench with a com1 cable" "$scratch/err"
bench cable "$dir" com2 unplug 2>"$scratch/err"
check "cable replaces a planted state link and the relay switches" [ $? = 0 ]
check "the state link was replaced, not written through" [ ! -L "$dir/cables/com2/state" ]
check "the host directory is still unchanged" [ "$(snapshot "$victim")" = "$before" ]
check "every relay is still running after the switch" relays_alive
bench stop "$dir"
check "stop succeeds" [ $? = 0 ]
check_nothing_left "$dir" "$id"
check "the host directory is unchanged at the end" [ "$(snapshot "$victim")" = "$before" ]
finish
