// The yield report's tables: what the report pages read instead of the lines, brought up to date
// in the transaction that stores the lines, so that a page costs a few index lookups and never a
// scan of every line.
#pragma once

#include <QString>
#include <QStringList>

class QueryCache;

namespace ReportFold {

// The statements that add the report's tables (and the lines' station column) to a database of
// schema version 1.
QStringList schema();

// Folds the lines of RECORD (a record_lines run_id) from FIRSTNEW on into the report's tables:
// the run that holds line FIRSTNEW and every later run of the record are made again from their
// lines, so a line that arrives out of order is counted as if it had come in order. Runs in the
// caller's transaction on the cache's connection; false with the reason in *error.
bool fold(QueryCache &queries, const QString &record, qint64 firstNew, QString *error);

// Folds every record of the database (after the tables were added to one that held lines).
bool foldAll(QueryCache &queries, QString *error);

} // namespace ReportFold
