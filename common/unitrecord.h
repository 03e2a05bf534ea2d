// The unit's own record of its bench walk: one line per finished stage, per test result and
// per outcome, appended and synced to a file on the unit, so that a unit shown as done always
// has its record. Line format (tab-separated, UTF-8, one record a line):
//
//     TIME <tab> MAC <tab> KIND <tab> NAME <tab> RESULT
//
// TIME is UTC as 2026-11-23T16:30:05Z; MAC is the unit's address once this run has written it,
// else "-"; KIND is "stage" (the worker left a stage: NAME its test key, RESULT "done",
// "passed" or "failed"), "result" (a device test ended: NAME the device, RESULT "ok!" or
// "fail!"), or "outcome" (NAME "error list" with RESULT "all passed" or "N failed", or "MAC"
// with "written", "write failed" or "compare failed").
#pragma once

#include <QString>

class UnitRecord {
public:
    // The record file: BENCHTEST_RECORD when set, else /brimdale/records/unit.record.
    static QString path();

    // Appends one line and syncs it to the disk. False when it could not be written; the
    // reason (path and system error) is then in lastError().
    static bool append(const QString &kind, const QString &name, const QString &result);
    static QString lastError();

    // The address written into this unit; "-" until then.
    static void setMac(const QString &mac);
    static QString mac();
};
