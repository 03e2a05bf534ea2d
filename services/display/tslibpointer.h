// One pointer handler over tslib, made and destroyed by the display-server adapter.
#pragma once

class QObject;

// A new handler reading the touch device (calibrated by tslib's own modules), or null when
// the device cannot be opened.
QObject *createTslibPointer();
