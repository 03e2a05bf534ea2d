// The machinery under the calibration screen: the touch device through tslib, one raw sample
// per target, the calibration file and the backup discipline of /brimdale/configs.
#pragma once

struct tsdev;

struct calibration {
    int rawX[5];
    int screenX[5];
    int rawY[5];
    int screenY[5];
    int coeff[7];
};

// Plain program-wide state, shared by the screen and the sampling step.
extern struct tsdev *ts;
extern char *tsdevice;
extern int xres;
extern int yres;

// Opens and configures the touch device once; ends the program when there is none.
void open_ts();
// Throws away every raw sample already waiting, so a touch counts only after its cross.
void drainTouchInput();
// One target: animates the cross from the previous target, waits for the touch, records it.
void get_sample(struct tsdev *dev, calibration *cal, int index, int x, int y, const char *name);
// Writes the tslib calibration file named by TSLIB_CALIBFILE; -1 when none is named.
int saveCalibration(calibration cal);

// File steps around a calibration run.
void backupCalibrationFiles();
void applyCalibrationFiles();
void restoreCalibrationFiles();
