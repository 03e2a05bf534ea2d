# Sourced by the walk benchmarks (bench/run-walk, bench/run-board-walk).
# The program's fixed waits on a good walk, in ms: the start page's single shot (200), the
# calibration's animation (4 moving crosses x 10 steps x 1 ms), the DIP screen's exit delay
# (100), each serial stage's 59 blocks at 1 ms, the Ethernet stage's 59 blocks at 10 ms and the
# USB device test's 1 s pause before it reads back.
fixed_ms() { # SERIAL-STAGES
    echo $((200 + 40 + 100 + $1 * 59 + 590 + 1000))
}
