// Record files brought to the station by other means (copied from a unit) are stored with the
// same checks as lines sent over the bench network.
#pragma once

#include <QString>

class LineStore;

namespace RecordImport {

// Stores FILE's whole lines (a half line cut off at the end is left out) in one transaction,
// under a run id made from its first line, so that importing it again stores nothing twice.
// A file with a bad line stores nothing. False with the reason in *message; else *message says
// what was stored.
bool importFile(LineStore &store, const QString &file, QString *message);

// The key a record file's lines are stored under, as the unit sends them: "file-" and 16 hex
// digits of its first line's hash.
QString runIdFor(const QByteArray &firstLine);

} // namespace RecordImport
