#include "station/recordimport.h"

#include "common/recordkey.h"
#include "station/linestore.h"
#include "station/recordline.h"

#include <QFile>

namespace {

// A unit's record grows by a few hundred bytes a walk; this is years of walks.
constexpr qint64 MaxFileBytes = 256 * 1024 * 1024;

} // namespace

QString RecordImport::runIdFor(const QByteArray &firstLine)
{
    return RecordKey::forFirstLine(firstLine);
}

bool RecordImport::importFile(LineStore &store, const QString &file, QString *message)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        *message = file + QStringLiteral(": ") + in.errorString();
        return false;
    }
    if (in.size() > MaxFileBytes) {
        *message
            = QStringLiteral("%1: %2 bytes, at most %3").arg(file).arg(in.size()).arg(MaxFileBytes);
        return false;
    }
    QByteArray text = in.readAll();
    if (in.error() != QFileDevice::NoError) {
        *message = file + QStringLiteral(": ") + in.errorString();
        return false;
    }
    // A power cut can leave half a line at the end: the lines before it are whole.
    const qsizetype cut = text.size() - (text.lastIndexOf('\n') + 1);
    text.chop(cut);
    if (text.isEmpty()) {
        *message = file + QStringLiteral(": no whole line, nothing stored");
        return true;
    }
    text.chop(1);
    const QList<QByteArray> rows = text.split('\n');
    QList<NumberedLine> lines;
    lines.reserve(rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        QString reason;
        NumberedLine line { i + 1, RecordLine::fields(rows.at(i), &reason) };
        if (line.fields.isEmpty()) {
            *message = QStringLiteral("%1:%2: %3; nothing of this file was stored")
                           .arg(file)
                           .arg(i + 1)
                           .arg(reason);
            return false;
        }
        lines.append(line);
    }
    const QString runId = runIdFor(rows.first());
    const LineStore::Added added = store.add(runId, lines);
    if (!added.ok) {
        *message = QStringLiteral("%1: the database refused it: %2").arg(file, added.error);
        return false;
    }
    *message = QStringLiteral("%1: run %2, %3 lines stored, %4 already there")
                   .arg(file, runId)
                   .arg(added.stored)
                   .arg(added.duplicates);
    if (cut > 0)
        *message += QStringLiteral("; a cut last line of %1 bytes left out").arg(cut);
    return true;
}
