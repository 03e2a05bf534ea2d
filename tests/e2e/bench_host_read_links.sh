#!/usr/bin/env bash
# The host must never read a file of its own through a unit's link. The tester replaces its log
# by a link to a host file, then the command fails: the tail the bench prints is the tester's
# own output, never the host file. On a started bench the tester links a cable's applied, dut
# and stats files to the host file: status and cable status print none of it.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

victim=$(make_victim host-file)
before=$(snapshot "$victim")
dir=$scratch/run
attempt run --dir "$dir" \
    --tester "echo tester-own-output; ln -sfn '$victim/file' \"\$VIRTUAL_BENCH_DIR/units/tester/log\"; $LISTEN" \
    -- /bin/sh -c 'exit 5'
check "run returns the command's status" [ "$rc" = 5 ]
check "run reports the failure" grep -q "command failed (5)" "$scratch/err"
check "the tail printed is the tester's own output" grep -q "tester-own-output" "$scratch/err"
check "nothing of the host file was printed" bash -c "! grep -q VICTIM-LINE '$scratch/err'"
check "the host file is unchanged" [ "$(snapshot "$victim")" = "$before" ]
check_nothing_left "$dir" "$(ended_bench_id "$dir")"

dir=$scratch/started
attack='cd "$VIRTUAL_BENCH_DIR/cables/com2" || exit 1
for f in applied dut tester stats; do ln -sfn VICTIM/file $f; done'
attempt start --dir "$dir" --tester "${attack//VICTIM/$victim}; $LISTEN" >/dev/null
check "start succeeds" [ "$rc" = 0 ]
id=$(bench_id "$dir")
bench status "$dir" >"$scratch/status" 2>&1
rc=$?
cat "$scratch/status"
check "status succeeds" [ "$rc" = 0 ]
check "status prints nothing of the host file" bash -c "! grep -q VICTIM-LINE '$scratch/status'"
check "status still shows the other cables" grep -q "com1: plug" "$scratch/status"
bench cable "$dir" com2 status >"$scratch/cable" 2>&1
rc=$?
cat "$scratch/cable"
check "cable status succeeds" [ "$rc" = 0 ]
check "cable status prints nothing of the host file" bash -c "! grep -q VICTIM-LINE '$scratch/cable'"
check "cable status takes the ends from the bench's own records" grep -q "dut end: /dev/pts/" "$scratch/cable"
check "the host file is unchanged" [ "$(snapshot "$victim")" = "$before" ]
bench stop "$dir"
check "stop succeeds" [ $? = 0 ]
check_nothing_left "$dir" "$id"
check "the host file is unchanged at the end" [ "$(snapshot "$victim")" = "$before" ]
finish
