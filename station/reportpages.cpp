#include "station/reportpages.h"

#include "station/linestore.h"

#include <QDate>
#include <QHttpServer>
#include <QList>
#include <QMap>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrlQuery>
#include <QVariant>

#include <algorithm>
#include <cmath>

namespace {

using Status = QHttpServerResponder::StatusCode;

// Every text from a record goes through here: markup in a field is shown, never run.
QString esc(const QString &text)
{
    QString out;
    out.reserve(text.size() + 8);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QLatin1String("&amp;");
            break;
        case '<':
            out += QLatin1String("&lt;");
            break;
        case '>':
            out += QLatin1String("&gt;");
            break;
        case '"':
            out += QLatin1String("&quot;");
            break;
        case '\'':
            out += QLatin1String("&#39;");
            break;
        default:
            out += c;
        }
    }
    return out;
}

QString csvField(const QString &text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"'))
        && !text.contains(QLatin1Char('\n')))
        return text;
    return QLatin1Char('"') + QString(text).replace(QLatin1Char('"'), QLatin1String("\"\""))
        + QLatin1Char('"');
}

// Tenths of a per cent, a half rounded up, in whole numbers: the same in every CSV reader.
QString percent(qint64 part, qint64 whole)
{
    if (whole <= 0)
        return QStringLiteral("-");
    const qint64 tenths = (2000 * part + whole) / (2 * whole);
    return QStringLiteral("%1.%2").arg(tenths / 10).arg(tenths % 10);
}

// The query string's filters, checked; an unknown value is refused with a reason.
struct Filters {
    QString from;
    QString to;
    QString model;
    QString station;
    QString stage;
    QString mac;
    QString run;
    QString table;
    QString error;

    explicit Filters(const QUrlQuery &query)
    {
        from = query.queryItemValue(QStringLiteral("from"), QUrl::FullyDecoded);
        to = query.queryItemValue(QStringLiteral("to"), QUrl::FullyDecoded);
        model = query.queryItemValue(QStringLiteral("model"), QUrl::FullyDecoded);
        station = query.queryItemValue(QStringLiteral("station"), QUrl::FullyDecoded);
        stage = query.queryItemValue(QStringLiteral("stage"), QUrl::FullyDecoded);
        mac = query.queryItemValue(QStringLiteral("mac"), QUrl::FullyDecoded).trimmed().toUpper();
        run = query.queryItemValue(QStringLiteral("run"), QUrl::FullyDecoded).trimmed();
        table = query.queryItemValue(QStringLiteral("table"), QUrl::FullyDecoded);
        for (const QString *day : { &from, &to }) {
            if (!day->isEmpty() && !QDate::fromString(*day, QStringLiteral("yyyy-MM-dd")).isValid())
                error = QStringLiteral("\"%1\" is not a day (YYYY-MM-DD)").arg(*day);
        }
        static const QRegularExpression modelShape(QStringLiteral("^-?\\d{1,5}$"));
        if (!model.isEmpty() && !modelShape.match(model).hasMatch())
            error = QStringLiteral("model \"%1\" is not a panel model number").arg(model);
        static const QRegularExpression macShape(QStringLiteral("^[0-9A-F]{2}(:[0-9A-F]{2}){5}$"));
        if (!mac.isEmpty() && !macShape.match(mac).hasMatch())
            error = QStringLiteral("\"%1\" is not a MAC address (XX:XX:XX:XX:XX:XX)").arg(mac);
        static const QRegularExpression runShape(QStringLiteral("^[A-Za-z0-9._:-]{1,64}$"));
        if (!run.isEmpty() && !runShape.match(run).hasMatch())
            error = QStringLiteral("\"%1\" is not a run id").arg(run);
        if (station.size() > 64 || stage.size() > 256)
            error = QStringLiteral("a station or stage name that long is in no record");
    }

    // The day range, model and station as SQL over DAY (a column) and the model and station
    // columns of TABLE ("s." or none), with its bound values.
    QString where(const QString &day, QVariantList *binds, const QString &table = QString()) const
    {
        QStringList terms;
        // Without a range every day: a unit not yet in a bench run has no day ('').
        terms << day + QStringLiteral(" >= ?") << day + QStringLiteral(" <= ?");
        *binds << (from.isEmpty() ? QStringLiteral("0000-00-00") : from)
               << (to.isEmpty() ? QStringLiteral("9999-99-99") : to);
        if (!model.isEmpty()) {
            terms << table + QStringLiteral("model = ?");
            *binds << model;
        }
        if (!station.isEmpty()) {
            terms << table + QStringLiteral("station = ?");
            *binds << station;
        }
        return terms.join(QLatin1String(" AND "));
    }

    // A link to PATH with these filters, EXTRA replacing or adding some, escaped for an
    // attribute.
    QString link(const QString &path, const QList<QPair<QString, QString>> &extra = {}) const
    {
        QList<QPair<QString, QString>> items = { { QStringLiteral("from"), from },
            { QStringLiteral("to"), to }, { QStringLiteral("model"), model },
            { QStringLiteral("station"), station }, { QStringLiteral("stage"), stage },
            { QStringLiteral("mac"), mac }, { QStringLiteral("run"), run } };
        for (const auto &item : extra) {
            auto same = std::find_if(items.begin(), items.end(),
                [&item](const QPair<QString, QString> &mine) { return mine.first == item.first; });
            if (same != items.end())
                same->second = item.second;
            else
                items << item;
        }
        QUrlQuery query;
        for (const auto &item : std::as_const(items)) {
            if (!item.second.isEmpty())
                query.addQueryItem(
                    item.first, QString::fromLatin1(QUrl::toPercentEncoding(item.second)));
        }
        const QString text = query.toString(QUrl::FullyEncoded);
        return esc(text.isEmpty() ? path : path + QLatin1Char('?') + text);
    }
};

struct Table {
    QString id;
    QString title;
    QStringList columns; // data-col names
    QStringList heads;
    QList<QStringList> rows;
    QStringList rowKeys; // data-row names
    QList<QStringList> links; // per row: an href per cell, or empty
};

struct Page {
    QString title;
    QString html; // before the tables
    QList<Table> tables;
    QString after; // after them
    QString error;
};

bool run(QSqlQuery &query, const QString &sql, const QVariantList &binds, QString *error)
{
    query.prepare(sql);
    for (const QVariant &value : binds)
        query.addBindValue(value);
    if (query.exec())
        return true;
    *error = QStringLiteral("the database: ") + query.lastError().text().trimmed();
    return false;
}

QString tableHtml(const Table &table, const Filters &filters, const QString &csvPath)
{
    QString html
        = QStringLiteral("<section><h2>%1 <a class=\"csv\" href=\"%2\">CSV</a></h2>"
                         "<div class=\"scroll\"><table id=\"%3\"><thead><tr>")
              .arg(esc(table.title),
                  filters.link(csvPath, { { QStringLiteral("table"), table.id } }), esc(table.id));
    for (const QString &head : table.heads)
        html += QStringLiteral("<th>%1</th>").arg(esc(head));
    html += QLatin1String("</tr></thead><tbody>");
    for (qsizetype r = 0; r < table.rows.size(); ++r) {
        html += QStringLiteral("<tr data-row=\"%1\">").arg(esc(table.rowKeys.value(r)));
        const QStringList &row = table.rows.at(r);
        for (qsizetype c = 0; c < row.size(); ++c) {
            const QString href = table.links.value(r).value(c);
            const QString cell = href.isEmpty()
                ? esc(row.at(c))
                : QStringLiteral("<a href=\"%1\">%2</a>").arg(href, esc(row.at(c)));
            static const QRegularExpression number(QStringLiteral("^-?[0-9]+(\\.[0-9]+)?$"));
            html += QStringLiteral("<td data-col=\"%1\"%2>%3</td>")
                        .arg(esc(table.columns.value(c)),
                            number.match(row.at(c)).hasMatch() ? QLatin1String(" class=\"n\"")
                                                               : QLatin1String(""),
                            cell);
        }
        html += QLatin1String("</tr>");
    }
    if (table.rows.isEmpty())
        html += QStringLiteral("<tr><td colspan=\"%1\">nothing in this range</td></tr>")
                    .arg(table.heads.size());
    return html + QLatin1String("</tbody></table></div></section>");
}

QByteArray tableCsv(const Table &table)
{
    QStringList lines;
    lines << table.heads.join(QLatin1Char(','));
    for (const QStringList &row : table.rows) {
        QStringList fields;
        for (const QString &field : row)
            fields << csvField(field);
        lines << fields.join(QLatin1Char(','));
    }
    return (lines.join(QLatin1String("\r\n")) + QLatin1String("\r\n")).toUtf8();
}

const char Style[]
    = "body{font:14px/1.4 sans-serif;margin:0 auto;padding:8px 12px;max-width:1240px;"
      "color:#222}nav a{margin-right:14px}nav{padding:6px 0;border-bottom:1px solid "
      "#ccc}h1{font-size:20px;margin:10px 0}h2{font-size:16px;margin:14px 0 4px}"
      "form{margin:6px 0}form label{margin-right:10px;white-space:nowrap}"
      "input{width:8.5em}.scroll{overflow-x:auto}table{border-collapse:collapse;"
      "font-size:13px}td,th{border:1px solid #ccc;padding:2px 5px;text-align:left;"
      "white-space:nowrap}td.n{text-align:right}th{background:#eef;white-space:normal}"
      "a.csv{font-size:12px;font-weight:normal}svg{max-width:100%;height:auto;"
      "display:block}svg.chart{max-width:800px}.error{color:#a00}.note{color:#555;font-size:12px}";

QString frame(const QString &title, const QString &body)
{
    return QStringLiteral("<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\">"
                          "<meta name=\"viewport\" content=\"width=device-width, "
                          "initial-scale=1\"><title>%1</title><style>%2</style></head><body>"
                          "<nav><a href=\"/report\">Overview</a><a href=\"/report/failures\">"
                          "Failures by device</a><a href=\"/report/stages\">Stage times</a>"
                          "<a href=\"/report/unit\">Unit history</a></nav><h1>%1</h1>%3"
                          "</body></html>")
        .arg(esc(title), QLatin1String(Style), body);
}

QString rangeForm(const QString &path, const Filters &f, const QString &extra = QString())
{
    auto field = [](const char *name, const QString &label, const QString &value,
                     const char *type) {
        return QStringLiteral("<label>%1 <input name=\"%2\" type=\"%3\" value=\"%4\"></label>")
            .arg(esc(label), QLatin1String(name), QLatin1String(type), esc(value));
    };
    return QStringLiteral("<form method=\"get\" action=\"%1\">").arg(esc(path))
        + field("from", QStringLiteral("From"), f.from, "date")
        + field("to", QStringLiteral("to"), f.to, "date")
        + field("model", QStringLiteral("Model"), f.model, "text")
        + field("station", QStringLiteral("Station"), f.station, "text") + extra
        + QStringLiteral("<button type=\"submit\">Show</button></form>");
}

// Bars of VALUES (one series each) over LABELS, drawn by the station: no script, no download.
QString barChart(const QString &id, const QStringList &labels, const QList<QList<qint64>> &series,
    const QStringList &names, const QList<double> &line = {})
{
    const int width = 800;
    const int height = 270;
    const int left = 40;
    const int plotTop = 34; // the legend above the plot
    const int bottom = 86; // the labels below it, slanted
    const int plot = height - bottom - plotTop;
    qint64 top = 1;
    for (const QList<qint64> &values : series)
        for (qint64 v : values)
            top = std::max(top, v);
    const double slot = labels.isEmpty() ? 0 : double(width - left - 40) / double(labels.size());
    const double bar = slot * 0.8 / std::max<qsizetype>(1, series.size());
    static const char *colours[] = { "#9ab", "#47a", "#2a6", "#c84" };
    QString svg = QStringLiteral("<svg id=\"%1\" class=\"chart\" viewBox=\"0 0 %2 %3\" "
                                 "role=\"img\" xmlns=\"http://www.w3.org/2000/svg\" "
                                 "font-size=\"11\"><title>%4</title>")
                      .arg(esc(id))
                      .arg(width)
                      .arg(height)
                      .arg(esc(names.join(QLatin1String(", "))));
    svg += QStringLiteral("<line x1=\"%1\" y1=\"%2\" x2=\"%3\" y2=\"%2\" stroke=\"#888\"/>")
               .arg(left)
               .arg(plotTop + plot)
               .arg(width - 40);
    svg += QStringLiteral("<text x=\"2\" y=\"%3\">%1</text><text x=\"2\" y=\"%2\">0</text>")
               .arg(top)
               .arg(plotTop + plot)
               .arg(plotTop + 8);
    for (qsizetype i = 0; i < labels.size(); ++i) {
        const double x0 = left + slot * double(i) + slot * 0.1;
        for (qsizetype s = 0; s < series.size(); ++s) {
            const qint64 v = series.at(s).value(i);
            const double h = double(plot) * double(v) / double(top);
            svg += QStringLiteral("<rect class=\"bar\" x=\"%1\" y=\"%2\" width=\"%3\" "
                                  "height=\"%4\" fill=\"%5\"><title>%7: %6</title></rect>")
                       .arg(x0 + bar * double(s), 0, 'f', 1)
                       .arg(plotTop + plot - h, 0, 'f', 1)
                       .arg(bar, 0, 'f', 1)
                       .arg(h, 0, 'f', 1)
                       .arg(QLatin1String(colours[s % 4]))
                       .arg(v)
                       // Last: an .arg() after it would take a "%1" in a device's name.
                       .arg(esc(labels.at(i)));
        }
        svg += QStringLiteral("<text transform=\"translate(%1,%2) rotate(30)\">%3</text>")
                   .arg(x0, 0, 'f', 1)
                   .arg(plotTop + plot + 14)
                   .arg(esc(labels.at(i).left(24)));
    }
    if (!line.isEmpty()) {
        // The cumulative share, on a scale of its own (100 % at the top).
        QStringList points;
        for (qsizetype i = 0; i < line.size(); ++i)
            points << QStringLiteral("%1,%2")
                          .arg(left + slot * (double(i) + 0.5), 0, 'f', 1)
                          .arg(plotTop + plot - double(plot) * line.at(i) / 100.0, 0, 'f', 1);
        svg += QStringLiteral("<polyline class=\"cumulative\" fill=\"none\" stroke=\"#c33\" "
                              "stroke-width=\"2\" points=\"%1\"/><text x=\"%2\" y=\"%3\" "
                              "fill=\"#c33\">100 %</text>")
                   .arg(points.join(QLatin1Char(' ')))
                   .arg(width - 38)
                   .arg(plotTop + 8);
    }
    for (qsizetype s = 0; s < names.size(); ++s)
        svg += QStringLiteral("<rect x=\"%1\" y=\"%2\" width=\"10\" height=\"10\" fill=\"%3\"/>"
                              "<text x=\"%4\" y=\"%5\">%6</text>")
                   .arg(left + 200 * int(s))
                   .arg(4)
                   .arg(QLatin1String(s < series.size() ? colours[s % 4] : "#c33"))
                   .arg(left + 200 * int(s) + 14)
                   .arg(13)
                   .arg(esc(names.at(s)));
    return svg + QLatin1String("</svg>");
}

Page overview(QSqlDatabase db, const Filters &f)
{
    Page page;
    page.title = QStringLiteral("Yield overview");
    QSqlQuery query(db);
    const QStringList columns = { QStringLiteral("tested"), QStringLiteral("passed"),
        QStringLiteral("first_pass"), QStringLiteral("first_pass_yield"),
        QStringLiteral("final_yield"), QStringLiteral("retested"), QStringLiteral("in_progress"),
        QStringLiteral("cut_off") };
    const QStringList heads = { QStringLiteral("units tested"), QStringLiteral("passed"),
        QStringLiteral("passed first time"), QStringLiteral("first-pass yield %"),
        QStringLiteral("final yield %"), QStringLiteral("re-tested"),
        QStringLiteral("runs in progress"), QStringLiteral("runs cut off") };
    QList<qint64> totals(6, 0);
    QStringList days;
    QList<QList<qint64>> series(3);
    for (const auto &[id, column, title] :
        { std::tuple { QStringLiteral("day"), QStringLiteral("day"),
              QStringLiteral("Per day (of the unit's first bench run)") },
            std::tuple { QStringLiteral("model"), QStringLiteral("model"),
                QStringLiteral("Per panel model") },
            std::tuple { QStringLiteral("station"), QStringLiteral("station"),
                QStringLiteral("Per station") } }) {
        QVariantList binds;
        if (!run(query,
                QStringLiteral("SELECT %1, SUM(tested), SUM(passed), SUM(first_pass), "
                               "SUM(retested), SUM(open_runs), SUM(cut_runs) FROM "
                               "report_unit_days WHERE %2 GROUP BY %1 HAVING SUM(tested) > 0 "
                               "ORDER BY %1")
                    .arg(column, f.where(QStringLiteral("day"), &binds)),
                binds, &page.error))
            return page;
        Table table { id, title, QStringList { id } + columns, QStringList { id } + heads, {}, {},
            {} };
        while (query.next()) {
            QList<qint64> n;
            for (int i = 1; i <= 6; ++i)
                n << query.value(i).toLongLong();
            const QString key = query.value(0).toString();
            table.rowKeys << key;
            table.rows << QStringList { key, QString::number(n[0]), QString::number(n[1]),
                QString::number(n[2]), percent(n[2], n[0]), percent(n[1], n[0]),
                QString::number(n[3]), QString::number(n[4]), QString::number(n[5]) };
            if (id == QLatin1String("day")) {
                for (int i = 0; i < 6; ++i)
                    totals[i] += n[i];
                days << key;
                series[0] << n[0];
                series[1] << n[1];
                series[2] << n[2];
            }
        }
        page.tables << table;
    }
    Table total { QStringLiteral("total"), QStringLiteral("The range"), columns, heads, {},
        { QStringLiteral("total") }, {} };
    total.rows << QStringList { QString::number(totals[0]), QString::number(totals[1]),
        QString::number(totals[2]), percent(totals[2], totals[0]), percent(totals[1], totals[0]),
        QString::number(totals[3]), QString::number(totals[4]), QString::number(totals[5]) };
    // The range's sums first: the morning's question is answered at the top.
    total.columns.prepend(QStringLiteral("range"));
    total.heads.prepend(QStringLiteral("range"));
    total.rows[0].prepend(
        QStringLiteral("%1 to %2")
            .arg(f.from.isEmpty() ? days.value(0, QStringLiteral("-")) : f.from,
                f.to.isEmpty() ? days.value(days.size() - 1, QStringLiteral("-")) : f.to));
    page.tables.prepend(total);
    page.html = rangeForm(QStringLiteral("/report"), f)
        + barChart(QStringLiteral("chart-days"), days, series,
            { QStringLiteral("units tested"), QStringLiteral("passed"),
                QStringLiteral("passed first time") });
    return page;
}

Page failures(QSqlDatabase db, const Filters &f)
{
    Page page;
    page.title = QStringLiteral("Failures by device");
    QSqlQuery query(db);
    QVariantList binds;
    if (!run(query,
            QStringLiteral("SELECT device, COUNT(*), SUM(again) FROM report_failures WHERE %1 "
                           "GROUP BY device ORDER BY COUNT(*) DESC, device")
                .arg(f.where(QStringLiteral("day"), &binds)),
            binds, &page.error))
        return page;
    QList<std::tuple<QString, qint64, qint64>> devices;
    qint64 all = 0;
    while (query.next()) {
        devices << std::tuple { query.value(0).toString(), query.value(1).toLongLong(),
            query.value(2).toLongLong() };
        all += query.value(1).toLongLong();
    }
    Table table { QStringLiteral("devices"), QStringLiteral("Runs with a failed test, per device"),
        { QStringLiteral("device"), QStringLiteral("failed_runs"), QStringLiteral("share"),
            QStringLiteral("cumulative"), QStringLiteral("passed_on_again"),
            QStringLiteral("again_share") },
        { QStringLiteral("device"), QStringLiteral("runs with a failure"),
            QStringLiteral("share %"), QStringLiteral("cumulative %"),
            QStringLiteral("passed on Again"), QStringLiteral("passed on Again %") },
        {}, {}, {} };
    qint64 running = 0;
    QStringList labels;
    QList<QList<qint64>> series(1);
    QList<double> cumulative;
    for (const auto &[device, count, again] : std::as_const(devices)) {
        running += count;
        table.rowKeys << device;
        table.rows << QStringList { device, QString::number(count), percent(count, all),
            percent(running, all), QString::number(again), percent(again, count) };
        labels << device;
        series[0] << count;
        cumulative << 100.0 * double(running) / double(all);
    }
    page.tables << table;
    page.html = rangeForm(QStringLiteral("/report/failures"), f)
        + barChart(QStringLiteral("chart-pareto"), labels, series,
            { QStringLiteral("runs with a failure"), QStringLiteral("cumulative %") }, cumulative)
        + QStringLiteral("<p class=\"note\">A run counts once per device that had a fail! "
                         "result in it; passed on Again: that device's last result in the run "
                         "was ok!.</p>");
    return page;
}

// Nearest rank: the smallest time that at least SHARE of the visits took no longer than.
qint64 rank(const QList<QPair<qint64, qint64>> &counts, qint64 all, double share)
{
    const qint64 wanted = std::max<qint64>(1, qint64(std::ceil(share * double(all) - 1e-9)));
    qint64 seen = 0;
    for (const auto &[seconds, n] : counts) {
        seen += n;
        if (seen >= wanted)
            return seconds;
    }
    return counts.isEmpty() ? 0 : counts.last().first;
}

QString histogram(const QList<QPair<qint64, qint64>> &counts, qint64 upper)
{
    // Twenty bins from 0 to UPPER, the longer visits in the last one: a few very slow units
    // would otherwise squeeze everyone else into the first bin.
    constexpr int Bins = 20;
    QList<qint64> bins(Bins, 0);
    for (const auto &[seconds, n] : counts)
        bins[int(std::min<qint64>(Bins - 1, seconds * Bins / std::max<qint64>(1, upper)))] += n;
    const qint64 top = std::max<qint64>(1, *std::max_element(bins.cbegin(), bins.cend()));
    QString svg = QStringLiteral("<svg class=\"histogram\" viewBox=\"0 0 100 20\" width=\"200\" "
                                 "height=\"24\" preserveAspectRatio=\"none\" "
                                 "xmlns=\"http://www.w3.org/2000/svg\">");
    for (int i = 0; i < Bins; ++i) {
        const double h = 20.0 * double(bins[i]) / double(top);
        svg += QStringLiteral("<rect x=\"%1\" y=\"%2\" width=\"4.5\" height=\"%3\" "
                              "fill=\"#47a\"/>")
                   .arg(i * 5)
                   .arg(20 - h, 0, 'f', 1)
                   .arg(h, 0, 'f', 1);
    }
    return svg + QLatin1String("</svg>");
}

Page stages(QSqlDatabase db, const Filters &f)
{
    Page page;
    page.title = QStringLiteral("Stage times");
    QSqlQuery query(db);
    QVariantList binds;
    if (!run(query,
            QStringLiteral("SELECT stage, seconds, SUM(n) FROM report_stage_hist WHERE %1 GROUP "
                           "BY stage, seconds HAVING SUM(n) > 0 ORDER BY stage, seconds")
                .arg(f.where(QStringLiteral("day"), &binds)),
            binds, &page.error))
        return page;
    QMap<QString, QList<QPair<qint64, qint64>>> counts;
    while (query.next())
        counts[query.value(0).toString()]
            << qMakePair(query.value(1).toLongLong(), query.value(2).toLongLong());
    Table table { QStringLiteral("stages"), QStringLiteral("Time spent in each stage (seconds)"),
        { QStringLiteral("stage"), QStringLiteral("visits"), QStringLiteral("median"),
            QStringLiteral("p95"), QStringLiteral("longest") },
        { QStringLiteral("stage"), QStringLiteral("visits"), QStringLiteral("median s"),
            QStringLiteral("95th percentile s"), QStringLiteral("longest s") },
        {}, {}, {} };
    QString chosen = f.stage;
    qint64 chosenP95 = -1;
    QString pictures;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        qint64 all = 0;
        for (const auto &item : it.value())
            all += item.second;
        const qint64 median = rank(it.value(), all, 0.5);
        const qint64 p95 = rank(it.value(), all, 0.95);
        const qint64 longest = it.value().last().first;
        table.rowKeys << it.key();
        table.rows << QStringList { it.key(), QString::number(all), QString::number(median),
            QString::number(p95), QString::number(longest) };
        table.links << QStringList { f.link(
            QStringLiteral("/report/stages"), { { QStringLiteral("stage"), it.key() } }) };
        if (f.stage.isEmpty() && p95 > chosenP95) {
            chosen = it.key();
            chosenP95 = p95;
        }
        const qint64 upper = std::max<qint64>(1, 2 * p95);
        pictures += QStringLiteral("<tr data-row=\"%1\"><td>%1</td><td>%2</td><td "
                                   "class=\"n\">%3 s</td></tr>")
                        .arg(esc(it.key()), histogram(it.value(), upper), QString::number(upper));
    }
    page.tables << table;

    Table slow { QStringLiteral("slowest"), QStringLiteral("Slowest units in \"%1\"").arg(chosen),
        { QStringLiteral("seconds"), QStringLiteral("mac"), QStringLiteral("run"),
            QStringLiteral("day"), QStringLiteral("model"), QStringLiteral("station") },
        { QStringLiteral("seconds"), QStringLiteral("unit's MAC"), QStringLiteral("run id"),
            QStringLiteral("day"), QStringLiteral("model"), QStringLiteral("station") },
        {}, {}, {} };
    binds.clear();
    binds << chosen;
    const QString where = f.where(QStringLiteral("s.day"), &binds, QStringLiteral("s."));
    if (!run(query,
            QStringLiteral("SELECT s.seconds, u.mac, r.run_id, s.day, s.model, s.station FROM "
                           "report_stages s JOIN report_runs r ON r.record_key = s.record_key AND "
                           "r.run_no = s.run_no JOIN report_units u ON u.record_key = "
                           "s.record_key WHERE s.stage = ? AND %1 ORDER BY s.seconds DESC, "
                           "r.run_id, s.line_no LIMIT 10")
                .arg(where),
            binds, &page.error))
        return page;
    while (query.next()) {
        QStringList row;
        for (int i = 0; i < 6; ++i)
            row << query.value(i).toString();
        slow.rowKeys << row.at(2);
        const QString unit = row.at(1) != QLatin1String("-")
            ? Filters(QUrlQuery())
                  .link(QStringLiteral("/report/unit"), { { QStringLiteral("mac"), row.at(1) } })
            : QString();
        slow.links << QStringList { QString(), unit,
            Filters(QUrlQuery())
                .link(QStringLiteral("/report/unit"), { { QStringLiteral("run"), row.at(2) } }) };
        slow.rows << row;
    }
    page.tables << slow;
    page.html = rangeForm(QStringLiteral("/report/stages"), f,
        QStringLiteral("<label>Stage <input name=\"stage\" value=\"%1\"></label>")
            .arg(esc(f.stage)));
    page.after
        = QStringLiteral("<section><h2>Distribution (0 to twice the 95th percentile, 20 bins; the "
                         "longer visits in the last)</h2><div "
                         "class=\"scroll\"><table id=\"distribution\">%1</table></div></section>")
              .arg(pictures)
        + QStringLiteral("<p class=\"note\">A stage's time runs from the line before it (the "
                         "previous stage, or the run's start) to its own stage line.</p>");
    return page;
}

Page unit(QSqlDatabase db, const Filters &f)
{
    Page page;
    page.title = QStringLiteral("Unit history");
    page.html = QStringLiteral("<form method=\"get\" action=\"/report/unit\"><label>MAC <input "
                               "name=\"mac\" value=\"%1\"></label><label>or run id <input "
                               "name=\"run\" value=\"%2\"></label><button "
                               "type=\"submit\">Show</button></form>")
                    .arg(esc(f.mac), esc(f.run));
    if (f.mac.isEmpty() && f.run.isEmpty())
        return page;
    QSqlQuery query(db);
    QStringList records;
    if (!f.mac.isEmpty()) {
        if (!run(query,
                QStringLiteral(
                    "SELECT record_key FROM report_units WHERE mac = ? ORDER BY last_time"),
                { f.mac }, &page.error))
            return page;
    } else if (!run(query,
                   QStringLiteral("SELECT record_key FROM report_runs WHERE run_id = ? UNION "
                                  "SELECT record_key FROM report_units WHERE record_key = ?"),
                   { f.run, f.run }, &page.error)) {
        return page;
    }
    while (query.next())
        records << query.value(0).toString();
    if (records.isEmpty()) {
        page.html += QStringLiteral("<p class=\"error\" id=\"none\">No unit with %1.</p>")
                         .arg(esc(f.mac.isEmpty() ? QStringLiteral("run id ") + f.run
                                                  : QStringLiteral("MAC ") + f.mac));
        return page;
    }
    Table runs { QStringLiteral("runs"), QStringLiteral("Runs, in order"),
        { QStringLiteral("run"), QStringLiteral("started"), QStringLiteral("last"),
            QStringLiteral("mode"), QStringLiteral("model"), QStringLiteral("station"),
            QStringLiteral("mac"), QStringLiteral("lines"), QStringLiteral("state") },
        { QStringLiteral("run id"), QStringLiteral("started"), QStringLiteral("last line"),
            QStringLiteral("mode"), QStringLiteral("model"), QStringLiteral("station"),
            QStringLiteral("MAC"), QStringLiteral("lines"), QStringLiteral("state") },
        {}, {}, {} };
    Table lines { QStringLiteral("lines"), QStringLiteral("Every line, in order"),
        { QStringLiteral("run"), QStringLiteral("n"), QStringLiteral("time"), QStringLiteral("mac"),
            QStringLiteral("kind"), QStringLiteral("name"), QStringLiteral("result") },
        { QStringLiteral("record"), QStringLiteral("line"), QStringLiteral("time"),
            QStringLiteral("MAC"), QStringLiteral("kind"), QStringLiteral("name"),
            QStringLiteral("result") },
        {}, {}, {} };
    static const QMap<QString, QString> states
        = { { QStringLiteral("passed"), QStringLiteral("passed") },
              { QStringLiteral("failed"), QStringLiteral("failed") },
              { QStringLiteral("open"), QStringLiteral("in progress") },
              { QStringLiteral("cut"), QStringLiteral("cut off") } };
    for (const QString &record : std::as_const(records)) {
        if (!run(query,
                QStringLiteral("SELECT run_id, started, last_time, bench, model, station, mac, "
                               "line_count, state FROM report_runs WHERE record_key = ? ORDER BY "
                               "run_no"),
                { record }, &page.error))
            return page;
        while (query.next()) {
            QStringList row;
            for (int i = 0; i < 9; ++i)
                row << query.value(i).toString();
            row[3] = row.at(3) == QLatin1String("1") ? QStringLiteral("bench walk")
                                                     : QStringLiteral("other (menu)");
            row[8] = states.value(row.at(8), row.at(8));
            runs.rowKeys << row.at(0);
            runs.rows << row;
        }
        if (!run(query,
                QStringLiteral("SELECT run_id, line_no, line_time, mac, kind, name, result FROM "
                               "record_lines WHERE run_id = ? ORDER BY line_no"),
                { record }, &page.error))
            return page;
        while (query.next()) {
            QStringList row;
            for (int i = 0; i < 7; ++i)
                row << query.value(i).toString();
            lines.rowKeys << row.at(0) + QLatin1Char(':') + row.at(1);
            lines.rows << row;
        }
    }
    page.tables << runs << lines;
    return page;
}

using Builder = Page (*)(QSqlDatabase, const Filters &);

QHttpServerResponse respond(LineStore *store, Builder build, const QString &path,
    const QHttpServerRequest &request, bool csv)
{
    const Filters filters(request.query());
    Page page;
    if (filters.error.isEmpty())
        page = build(QSqlDatabase::database(store->connectionName(), false), filters);
    const QString error = filters.error.isEmpty() ? page.error : filters.error;
    if (!error.isEmpty()) {
        const Status status
            = filters.error.isEmpty() ? Status::ServiceUnavailable : Status::BadRequest;
        return QHttpServerResponse(QByteArrayLiteral("text/html; charset=utf-8"),
            frame(QStringLiteral("The report cannot be shown"),
                QStringLiteral("<p class=\"error\" id=\"error\">%1</p>").arg(esc(error)))
                .toUtf8(),
            status);
    }
    if (csv) {
        for (const Table &table : std::as_const(page.tables)) {
            if (table.id != filters.table)
                continue;
            QHttpServerResponse response(
                QByteArrayLiteral("text/csv; charset=utf-8"), tableCsv(table));
            response.setHeader(QByteArrayLiteral("Content-Disposition"),
                QStringLiteral("attachment; filename=\"%1-%2.csv\"")
                    .arg(path.section(QLatin1Char('/'), -1), table.id)
                    .toUtf8());
            return response;
        }
        QStringList known;
        for (const Table &table : std::as_const(page.tables))
            known << table.id;
        return QHttpServerResponse(QByteArrayLiteral("text/plain; charset=utf-8"),
            QStringLiteral("no table \"%1\" here (%2)\n")
                .arg(filters.table, known.join(QLatin1String(", ")))
                .toUtf8(),
            Status::NotFound);
    }
    QString body = page.html;
    for (const Table &table : std::as_const(page.tables))
        body += tableHtml(table, filters, path + QStringLiteral(".csv"));
    body += page.after;
    return QHttpServerResponse(
        QByteArrayLiteral("text/html; charset=utf-8"), frame(page.title, body).toUtf8());
}

} // namespace

void ReportPages::addRoutes(QHttpServer *http, LineStore *store)
{
    const QList<QPair<QString, Builder>> pages = { { QStringLiteral("/report"), &overview },
        { QStringLiteral("/report/failures"), &failures },
        { QStringLiteral("/report/stages"), &stages }, { QStringLiteral("/report/unit"), &unit } };
    for (const auto &[path, build] : pages) {
        for (const bool csv : { false, true }) {
            const QString route = csv ? path + QStringLiteral(".csv") : path;
            http->route(route, QHttpServerRequest::Method::Get,
                [store, build = build, path = path, csv](const QHttpServerRequest &request) {
                    return respond(store, build, path, request, csv);
                });
            // Kept read-only: nothing but GET reaches a page.
            http->route(route,
                QHttpServerRequest::Method::AnyKnown
                    & ~QHttpServerRequest::Methods(QHttpServerRequest::Method::Get),
                [] {
                    return QHttpServerResponse(QByteArrayLiteral("text/plain; charset=utf-8"),
                        QByteArrayLiteral("the report is read-only (GET)\n"),
                        Status::MethodNotAllowed);
                });
        }
    }
}
