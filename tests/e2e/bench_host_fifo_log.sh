#!/usr/bin/env bash
# The tester replaces its log by a named pipe and ends before it is ready. The bench prints the
# tester's output from the log it holds open, never opening the pipe: it does not hang, says
# the tester ended, exits 2 and leaves nothing.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

dir=$scratch/bench
BENCH_TIMEOUT=60 attempt run --dir "$dir" \
    --tester 'echo tester-last-words; cd "$VIRTUAL_BENCH_DIR/units/tester" && rm -f log && mkfifo log; exit 1' \
    -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran"'
check "the host did not hang" [ "$rc" != 124 ] && [ "$rc" != 137 ]
check "the bench exits with 2" [ "$rc" = 2 ]
check "the bench says the tester ended" grep -q "tester unit ended before it was ready" "$scratch/err"
check "the bench printed the tester's own output" grep -q "tester-last-words" "$scratch/err"
check "the pipe is still there, untouched" [ -p "$dir/units/tester/log" ]
check "the command did not run" [ ! -e "$dir/ran" ]
check_nothing_left "$dir" "$(ended_bench_id "$dir")"

# The same on a started bench whose unit under test's log is a pipe: stop does not hang.
dir=$scratch/started
bench start --dir "$dir" --tester-ready none \
    -- /bin/sh -c 'cd "$VIRTUAL_BENCH_DIR/units/dut" && rm -f log && mkfifo log && touch ../../ran; sleep 300' \
    >/dev/null 2>"$scratch/err"
check "start succeeds" [ $? = 0 ]
id=$(bench_id "$dir")
for ((i = 0; i < 200; i++)); do [ -e "$dir/ran" ] && break; sleep 0.05; done
check "the unit under test made its pipe" [ -p "$dir/units/dut/log" ]
bench status "$dir" >/dev/null
check "status does not hang on it" [ $? = 0 ]
BENCH_TIMEOUT=60 bench stop "$dir"
rc=$?
check "stop does not hang on it and succeeds" [ "$rc" = 0 ]
check_nothing_left "$dir" "$id"
finish
