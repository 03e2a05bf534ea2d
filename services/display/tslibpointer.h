// One pointer handler over tslib, made and destroyed by the display-server adapter.
#pragma once

class QObject;

class QByteArray;

// A new handler reading the touch device (calibrated by tslib's own modules), or null when
// the device cannot be opened; then *reason, when given, says why in a few words.
QObject *createTslibPointer(QByteArray *reason = nullptr);
