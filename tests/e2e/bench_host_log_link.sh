#!/usr/bin/env bash
# The tester replaces units/dut/log by a link to a host file before it listens; "start" then
# starts a unit under test that writes output. The bench made that log itself and handed it
# over open, so the host file is neither truncated nor written.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

victim=$(make_victim host-file)
before=$(snapshot "$victim")
dir=$scratch/bench
out=$(bench start --dir "$dir" \
    --tester "ln -sfn '$victim/file' \"\$VIRTUAL_BENCH_DIR/units/dut/log\"; echo tester-output; $LISTEN" \
    -- /bin/sh -c 'for i in 1 2 3; do echo dut-output-line; done; touch "$VIRTUAL_BENCH_DIR/ran"; sleep 300' \
    2>"$scratch/err")
rc=$?
cat "$scratch/err"
check "the host did not hang" [ "$rc" != 124 ]
check "start succeeds" [ "$rc" = 0 ]
check "start prints the bench directory" [ "$out" = "$(readlink -f "$dir")" ]
id=$(bench_id "$dir")
for ((i = 0; i < 200; i++)); do [ -e "$dir/ran" ] && break; sleep 0.05; done
check "the unit under test ran and wrote its output" [ -e "$dir/ran" ]
check "the planted link is still a link (the bench did not write through it)" [ -L "$dir/units/dut/log" ]
check "the host file is unchanged" [ "$(snapshot "$victim")" = "$before" ]
attempt stop "$dir"
check "stop succeeds" [ "$rc" = 0 ]
check "the host file is still unchanged" [ "$(snapshot "$victim")" = "$before" ]
check_nothing_left "$dir" "$id"
finish
