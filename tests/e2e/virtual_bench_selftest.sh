#!/usr/bin/env bash
# Checks that sim/virtual-bench takes down everything it started (relays, units, namespaces)
# after a normal end, a failing command, an interrupt and a "stop", and that a bench that
# cannot be set up runs nothing. Every command below runs inside the bench's virtual units.
. "$(dirname "${BASH_SOURCE[0]}")/bench_host_lib.sh"

bench_namespaces() { ip netns list | awk '{print $1}' | grep -E "^vb$1[0-9a-f]*-(dut|tester)$"; }
no_namespaces_of() { [ -z "$(ip netns list | awk '{print $1}' | grep -F "vb$1" )" ]; }
pids_gone() { # FILE...: every PID recorded in the files has ended
    local f pid
    for f in "$@"; do
        read -r pid _ <"$f" || continue
        kill -0 "$pid" 2>/dev/null && return 1
    done
    return 0
}

# 1. start / status / stop
dir=$scratch/started
out=$("$vb" start --dir "$dir" --bind "$src" --tester "sleep 300" --tester-ready none 2>&1)
check "start prints the bench directory" [ "$out" = "$(readlink -f "$dir")" ]
id=$(cat "$dir/bench-id" 2>/dev/null)
check "start makes both namespaces" [ "$(bench_namespaces "$id" | wc -l)" = 2 ]
check "the dut namespace has an eth0 and no address on it" \
    bash -c "ip -n vb$id-dut -o link show eth0 >/dev/null && [ -z \"\$(ip -n vb$id-dut -4 -o addr show eth0)\" ]"
cp -r "/run/virtual-bench/$id.d/pids" "$scratch/pids-started"
check "three relays and a tester are running" [ "$(ls "/run/virtual-bench/$id.d/pids" | sort | tr '\n' ' ')" = "relay-com1 relay-com2 relay-com3 tester " ]
for f in "/run/virtual-bench/$id.d"/pids/*; do
    read -r pid _ <"$f"
    check "$(basename "$f") (pid $pid) is alive" kill -0 "$pid"
done
status=$("$vb" status "$dir")
check "status lists the cables" grep -q "com2: plug" <<<"$status"
"$vb" cable "$dir" com2 unplug
check "cable unplug is applied" grep -q "com2: unplug" <<<"$("$vb" status "$dir")"
# What a unit can write is never trusted: a planted pids file naming a sleeper of this test
# (never a real system process), a bench.env that would run a command if sourced, a cable end
# swapped for a link to a scratch file.
sleep 300 &
sleeper=$!
mkdir -p "$dir/pids" && echo "$sleeper $(awk '{print $22}' /proc/$sleeper/stat)" >"$dir/pids/tester-planted"
echo "touch '$scratch/sourced'" >"$dir/bench.env"
echo "$scratch/not-a-pty" >"$dir/cables/com1/dut"
: >"$scratch/cable-target"
relay=$(cat "/run/virtual-bench/$id.d/cables/com1/pid")
ln -sf "$scratch/cable-target" "$dir/cables/com1/applied.$relay.tmp"
"$vb" exec "$dir" dut -- /bin/true
check "exec takes the cable ends from the bench's own records" [ $? = 0 ]
"$vb" cable "$dir" com1 unplug
check "the relay replaces a planted link instead of writing through it" [ ! -s "$scratch/cable-target" ]
"$vb" stop "$dir"
check "stop ends every process it started" pids_gone "$scratch"/pids-started/*
check "stop leaves a planted PID alone" kill -0 "$sleeper"
kill "$sleeper"
check "a planted bench.env is never sourced" [ ! -e "$scratch/sourced" ]
check "stop deletes the namespaces" no_namespaces_of "$id"
check "stop removes the bench directory" [ ! -e "$dir" ]

# 2. a failing command: its status comes back, everything is taken down, the directory kept
dir=$scratch/failing
"$vb" run --dir "$dir" -- /bin/sh -c 'exit 7' 2>"$scratch/failing.err"
rc=$?
check "run returns the command's status" [ "$rc" = 7 ]
id=$(cat "$dir/bench-id" 2>/dev/null)
check "a failing command leaves no namespace" no_namespaces_of "$id"
check "a failing command leaves no record" [ ! -e "/run/virtual-bench/$id.d" ]
check "the bench directory is kept and named" grep -q "bench directory kept: $(readlink -f "$dir")" "$scratch/failing.err"

# 3. interrupted while the command runs
dir=$scratch/interrupted
"$vb" run --dir "$dir" --tester "sleep 300" --tester-ready none -- \
    /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/running"; sleep 300' 2>/dev/null &
runner=$!
for ((i = 0; i < 200; i++)); do [ -e "$dir/running" ] && break; sleep 0.05; done
check "the command runs in the unit under test" [ -e "$dir/running" ]
cp -r "/run/virtual-bench/$(cat "$dir/bench-id").d/pids" "$scratch/pids-interrupted"
id=$(cat "$dir/bench-id" 2>/dev/null)
kill -TERM "$runner"
wait "$runner"
rc=$?
check "an interrupted run exits non-zero" [ "$rc" != 0 ]
check "an interrupted run ends every process it started" pids_gone "$scratch"/pids-interrupted/*
check "an interrupted run deletes its namespaces" no_namespaces_of "$id"

# 4. killed outright: its processes die with it, the next bench takes down what is left
dir=$scratch/killed
"$vb" run --dir "$dir" --tester "sleep 300" --tester-ready none -- \
    /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/running"; sleep 300' 2>/dev/null &
runner=$!
for ((i = 0; i < 200; i++)); do [ -e "$dir/running" ] && break; sleep 0.05; done
cp -r "/run/virtual-bench/$(cat "$dir/bench-id").d/pids" "$scratch/pids-killed"
id=$(cat "$dir/bench-id" 2>/dev/null)
kill -KILL "$runner"
wait "$runner" 2>/dev/null
for ((i = 0; i < 100; i++)); do pids_gone "$scratch"/pids-killed/* && break; sleep 0.05; done
check "a killed run's processes die with it" pids_gone "$scratch"/pids-killed/*
check "a killed run is registered as a bench to reap" [ -f "/run/virtual-bench/$id" ]
"$vb" run -- true
check "the next bench deletes a killed run's namespaces" no_namespaces_of "$id"
check "the next bench drops a killed run from the registry" [ ! -e "/run/virtual-bench/$id" ]

# 5. nothing can be set up: no launcher
dir=$scratch/nolauncher
VIRTUAL_UNIT=/nonexistent/virtual-unit "$vb" run --dir "$dir" -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran"' 2>"$scratch/nolauncher.err"
rc=$?
check "a missing launcher fails the run with 2" [ "$rc" = 2 ]
check "a missing launcher is named" grep -q "no virtual unit launcher" "$scratch/nolauncher.err"
check "a missing launcher runs nothing" [ ! -e "$dir/ran" ]

# 6. a tester that dies before it is ready: the command is not run, the bench is taken down
dir=$scratch/deadtester
"$vb" run --dir "$dir" --tester "exit 3" -- /bin/sh -c 'touch "$VIRTUAL_BENCH_DIR/ran"' 2>"$scratch/deadtester.err"
rc=$?
check "a tester that dies fails the run with 2" [ "$rc" = 2 ]
check "a tester that dies is reported" grep -q "tester unit ended before it was ready" "$scratch/deadtester.err"
check "a tester that dies runs no command" [ ! -e "$dir/ran" ]
id=$(cat "$dir/bench-id" 2>/dev/null)
check "a tester that dies leaves no namespace" no_namespaces_of "$id"
check "a tester that dies leaves no record" [ ! -e "/run/virtual-bench/$id.d" ]

# 7. bad options are refused before anything is made
"$vb" run --cable com9=plug -- true 2>"$scratch/badopt.err" &
runner=$!
wait "$runner"
rc=$?
check "an unknown port is refused with 2" [ "$rc" = 2 ]
check "an unknown port is named" grep -q "unknown port 'com9'" "$scratch/badopt.err"
check "a refused run makes no namespace" no_namespaces_of "$runner"

finish
