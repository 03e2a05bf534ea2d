#!/usr/bin/env bash
# The tester replaces the bench's units directory by a link to a host directory; "exec" must
# then make no directory there (nor anywhere through the link), start nothing and exit 2.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

victim=$(make_victim host-dir)
before=$(snapshot "$victim")
dir=$scratch/bench
attack='cd "$VIRTUAL_BENCH_DIR" && mv units units.orig && ln -s VICTIM units'
attempt start --dir "$dir" --tester "${attack//VICTIM/$victim}; $LISTEN" >/dev/null
check "start succeeds" [ "$rc" = 0 ]
id=$(bench_id "$dir")
check "the units directory is a link now" [ -L "$dir/units" ]
for unit in dut tester; do
    bench exec "$dir" "$unit" -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran-$VIRTUAL_BENCH_UNIT"' 2>"$scratch/err"
    rc=$?
    cat "$scratch/err"
    check "exec $unit did not hang" [ "$rc" != 124 ]
    check "exec $unit exits with 2" [ "$rc" = 2 ]
    check "exec $unit names the replaced units directory" grep -q "units is no longer a directory of the bench" "$scratch/err"
    check "exec $unit ran nothing" [ ! -e "$dir/ran-$unit" ]
done
check "no directory appeared in the host directory" [ "$(snapshot "$victim")" = "$before" ]
check "no exec directory appeared in the bench's own units directory either" \
    bash -c "! ls '$dir/units.orig' | grep -q exec"

# A units directory swapped for another real directory is refused as well.
rm "$dir/units" && mkdir "$dir/units"
attempt exec "$dir" dut -- /bin/true
check "exec into a swapped units directory exits with 2" [ "$rc" = 2 ]
check "exec names the swapped directory" grep -q "units was replaced" "$scratch/err"
# Put back, exec works again: the refusal above was about the swap.
rmdir "$dir/units" && mv "$dir/units.orig" "$dir/units"
bench exec "$dir" dut -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran-again"'
check "exec runs once the bench's own units directory is back" [ $? = 0 ] && [ -e "$dir/ran-again" ]
bench stop "$dir"
check "stop succeeds" [ $? = 0 ]
check_nothing_left "$dir" "$id"
check "the host directory is unchanged at the end" [ "$(snapshot "$victim")" = "$before" ]
finish
