#!/usr/bin/env bash
# The tester replaces units/dut in the bench directory by a link to a host directory before it
# listens: the bench must not start the unit under test there (its dip and model would land in
# the host directory), must say so and exit 2 with nothing run and nothing left.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

victim=$(make_victim host-dir)
before=$(snapshot "$victim")
dir=$scratch/bench
attempt run --dir "$dir" --ro-bind "$src" \
    --tester "rm -rf \"\$VIRTUAL_BENCH_DIR/units/dut\" && ln -s '$victim' \"\$VIRTUAL_BENCH_DIR/units/dut\"; $LISTEN" \
    -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran"'
check "the bench exits with 2" [ "$rc" = 2 ]
check "the bench names the replaced state directory" grep -q "units/dut/sim.*\(replaced\|no longer\)" "$scratch/err"
check "the bench says nothing was run" grep -q "nothing was run" "$scratch/err"
check "the command did not run" [ ! -e "$dir/ran" ]
check "the host directory is unchanged (no dip, no model)" [ "$(snapshot "$victim")" = "$before" ]
check_nothing_left "$dir" "$(ended_bench_id "$dir")"

# The launcher refuses a unit (status 125, nothing run): the bench says so and exits 2. A
# stand-in launcher of this test's refuses the unit under test and starts the tester for real.
fake=$scratch/launcher
cat >"$fake" <<FAKE
#!/bin/bash
case " \$* " in
*/units/dut/sim\ *) echo "virtual-unit: --state: refused" >&2; exit 125 ;;
esac
exec '$src/sim/virtual-unit' "\$@"
FAKE
chmod +x "$fake"
dir=$scratch/refused
VIRTUAL_UNIT=$fake attempt run --dir "$dir" --tester "$LISTEN" \
    -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran"'
check "a refused unit under test fails the run with 2" [ "$rc" = 2 ]
check "a refused unit under test is reported" grep -q "virtual-unit could not make the unit under test" "$scratch/err"
check "a refused unit under test runs nothing" [ ! -e "$dir/ran" ]
check_nothing_left "$dir" "$(ended_bench_id "$dir")"

# The command's own status 125 is still the command's.
dir=$scratch/own125
bench run --dir "$dir" -- /bin/sh -c 'exit 125' 2>"$scratch/err"
check "a command's own status 125 comes back as it is" [ $? = 125 ]
check "a command's own status 125 is not taken for a refused unit" \
    bash -c "! grep -q 'could not make' '$scratch/err'"
finish
