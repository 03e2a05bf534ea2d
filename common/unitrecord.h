// The unit's own record of its bench walk: one line per finished stage, per test result and
// per outcome, appended and synced to a file on the unit, so that a unit shown as done always
// has its record. Line format (tab-separated, UTF-8, one record a line):
//
//     TIME <tab> MAC <tab> KIND <tab> NAME <tab> RESULT
//
// TIME is UTC as 2026-11-23T16:30:05Z; MAC is the unit's address once this run has written it,
// else "-"; KIND is "run" (the first line of a run: NAME its run id, 32 hex digits, RESULT
// "version=V model=M screen=WxH dip=0xD", MAC the one FRAM holds when the unit has one), "stage"
// (the worker left a stage: NAME its test key, RESULT "done", "passed" or "failed"), "result" (a
// device test ended: NAME the device, RESULT "ok!" or "fail!"), or "outcome" (NAME "error list"
// with RESULT "all passed" or "N failed", or "MAC" with "written", "write failed" or "compare
// failed").
#pragma once

#include <QString>

class QSize;

class UnitRecord {
public:
    // The record file: BENCHTEST_RECORD when set, else /brimdale/records/unit.record.
    static QString path();

    // Appends one line and syncs it to the disk. False when it could not be written; the
    // reason (path and system error) is then in lastError().
    static bool append(const QString &kind, const QString &name, const QString &result);
    static QString lastError();

    // Replaces FILE by CONTENT, synced, so that a power cut leaves the old or the new content.
    // Unlike append() it keeps no shared state: any thread may call it. False with the reason
    // in *error.
    static bool replaceFile(const QString &file, const QByteArray &content, QString *error);

    // A run id unique across units and power cuts: 128 random bits as 32 hex digits.
    static QString newRunId();
    // Appends the run line that opens a run's lines; MAC is the address FRAM already holds,
    // or "-". False as append() is.
    static bool startRun(
        const QString &runId, int model, const QSize &screen, unsigned int dip, const QString &mac);

    // The address written into this unit; "-" until then.
    static void setMac(const QString &mac);
    static QString mac();
};
