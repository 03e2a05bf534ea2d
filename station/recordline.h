// One line of a unit's record as the station accepts it: the checks every line passes before it
// is stored, whether it came over the bench network or from a copied record file.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace RecordLine {

// A line of the record: TIME, MAC, KIND, NAME, RESULT (tab-separated, without its line break).
// KIND is run, stage, result or outcome; a run line's NAME is its run id (32 lower-case hex
// digits) and its RESULT "version=V model=M screen=WxH dip=0xD".
constexpr int FieldCount = 5;
constexpr int MaxLineBytes = 1024;
constexpr int MaxFieldBytes = 256;
constexpr int MaxRunIdBytes = 64;

// The fields of LINE, or an empty list with the reason in *error.
QStringList fields(const QByteArray &line, QString *error);

// A run id: 1..64 letters, digits, '.', '_', ':' or '-'.
bool isRunId(const QString &runId);

} // namespace RecordLine
