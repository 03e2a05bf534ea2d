// The line's yield report, read-only pages of the station: the overview (units, first-pass and
// final yield per day, model and station), failures by device, stage times, and a unit's
// history. Each table also comes as CSV; every filter is in the query string, so a page can be
// bookmarked and shared. The pages read only the report's tables (station/reportfold.h) and one
// unit's lines, never every line.
#pragma once

class LineStore;
class QHttpServer;

namespace ReportPages {

// GET /report, /report/failures, /report/stages, /report/unit and their .csv tables.
void addRoutes(QHttpServer *http, LineStore *store);

} // namespace ReportPages
