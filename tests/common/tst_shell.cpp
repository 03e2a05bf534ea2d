// The shell helpers: command lines through system(), and a batch that runs on a thread of its
// own while the caller goes on (the network set-up while the pages are built).
#include "common/shell.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestShell : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void runShellRunsTheLine();
    void backgroundRunsInOrderAndWaits();

private:
    QByteArray log() const;
    QString logPath;
};

void TestShell::init()
{
    const QString scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    QVERIFY2(!scratch.isEmpty(), "run in a virtual unit with a scratch directory");
    logPath = QDir(scratch).filePath(QStringLiteral("shell.log"));
    QFile::remove(logPath);
}

QByteArray TestShell::log() const
{
    QFile file(logPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void TestShell::runShellRunsTheLine()
{
    // The shell does the redirection: the line is passed as it is.
    runShell(qPrintable(QStringLiteral("echo one > %1").arg(logPath)));
    QCOMPARE(log(), QByteArray("one\n"));
}

void TestShell::backgroundRunsInOrderAndWaits()
{
    const QByteArray first = QStringLiteral("sleep 0.3; echo first >> %1").arg(logPath).toUtf8();
    const QByteArray second = QStringLiteral("echo second >> %1").arg(logPath).toUtf8();
    {
        const BackgroundShell batch { first.constData(), second.constData() };
        // The caller is not held up by the first line's pause.
        QCOMPARE(log(), QByteArray("<missing>"));
    }
    // Gone out of scope: both lines have run, one after the other.
    QCOMPARE(log(), QByteArray("first\nsecond\n"));
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
