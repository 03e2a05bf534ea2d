// Writes the bench program's image resources into a folder, and optionally a proof sheet.
//   artwork OUTPUT_DIR [--contact-sheet FILE]
#include "artwork.h"

#include <QDir>
#include <QGuiApplication>
#include <QStringList>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = app.arguments().mid(1);
    QString outDir, sheetPath;
    for (int i = 0; i < args.size(); ++i) {
        if (args.at(i) == QLatin1String("--contact-sheet") && i + 1 < args.size())
            sheetPath = args.at(++i);
        else if (outDir.isEmpty() && !args.at(i).startsWith(QLatin1Char('-')))
            outDir = args.at(i);
        else {
            err << "usage: artwork OUTPUT_DIR [--contact-sheet FILE]\n";
            return 2;
        }
    }
    if (outDir.isEmpty()) {
        err << "usage: artwork OUTPUT_DIR [--contact-sheet FILE]\n";
        return 2;
    }
    const QDir dir(outDir);
    if (!dir.exists()) {
        err << "artwork: output folder " << outDir << " does not exist\n";
        return 1;
    }
    for (const Artwork::Image &item : Artwork::all()) {
        const QString path = dir.filePath(item.fileName);
        // The logo is a JPEG; keep it crisp.
        const int quality = item.fileName.endsWith(QLatin1String(".jpg")) ? 95 : -1;
        if (!item.image.save(path, nullptr, quality)) {
            err << "artwork: cannot write " << path << "\n";
            return 1;
        }
    }
    if (!sheetPath.isEmpty() && !Artwork::contactSheet().save(sheetPath)) {
        err << "artwork: cannot write " << sheetPath << "\n";
        return 1;
    }
    return 0;
}
