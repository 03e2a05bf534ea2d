// The window server's side of the touch calibration: the program's own tslib pointer, the
// cursor and the display rotation. Lives in the servicesdisplay library (QtGui).
#pragma once

namespace DisplayServer {

// Stops reading the touch as a pointer.
void closeMouse();
// Starts the pointer again; tslib reads the calibration file anew, so a new file takes effect.
void openMouse();
// Opens the pointer as the program starts, as a unit's window server does. Without a touch
// device the program goes on without a pointer: one line on standard error says why, and the
// result is false.
bool startMouse();
// closeMouse() then openMouse().
void reloadMouse();
bool mouseOpen();
void hideCursor();
// Rotation of the display in degrees-free steps as the panel reports them; 0 is upright.
void setTransformation(int transformation);
int transformation();

} // namespace DisplayServer
