// An opt-in start-up clock for bench/run-startup: with BENCHTEST_FIRST_FRAME set to a file
// name, the moment of the program's first frame is written to that file and the program ends
// at once. Off unless the variable is set. The same hook runs in the benchmark's baseline (a
// minimal Qt widget program), so both are timed alike.
#pragma once

class QWidget;

namespace FirstFrame {

// The first frame of WINDOW (a top-level widget): the event loop is back after the window's
// first paint event, so the window and every child painted in that pass have been drawn and
// handed to the window system. Written as "first_frame_ns N", N from CLOCK_MONOTONIC.
void watchFromEnvironment(QWidget *window);

} // namespace FirstFrame
