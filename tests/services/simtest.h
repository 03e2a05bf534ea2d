// Helpers shared by the device-service tests: a fresh simulator state directory per test
// function, the events.log lines, and what a call printed on standard error. Stricter than
// tests/common/testsupport.h on purpose: files are written byte for byte (empty, no final
// line break) and an events.log line without its line break or an empty line shows up.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>
#include <QtTest>

#include <cstdio>
#include <unistd.h>

namespace SimTest {

// Each test function gets its own directory below the unit's state directory and points
// BENCHTEST_SIM_DIR at it, so state files and complaints never carry over between tests.
class StateDir {
public:
    // Call from initTestCase(): remembers the unit's state directory.
    bool setUp()
    {
        m_base = qEnvironmentVariable("BENCHTEST_SIM_DIR");
        return !m_base.isEmpty() && QDir(m_base).exists();
    }

    // Call from init(): a new, empty directory for the next test function.
    void next()
    {
        const QString name = QStringLiteral("case%1").arg(++m_count);
        QDir(m_base).mkpath(name);
        m_dir = m_base + QLatin1Char('/') + name;
        qputenv("BENCHTEST_SIM_DIR", QFile::encodeName(m_dir));
    }

    QString dir() const { return m_dir; }
    QString path(const QString &file) const { return m_dir + QLatin1Char('/') + file; }

    // By temporary file and rename, as every writer of state files does: a reader sees the
    // old content or the new one, never an empty file in between.
    void write(const QString &file, const QByteArray &content) const
    {
        QSaveFile f(path(file));
        QVERIFY(f.open(QIODevice::WriteOnly));
        QCOMPARE(f.write(content), qint64(content.size()));
        QVERIFY(f.commit());
    }

    QByteArray read(const QString &file) const
    {
        QFile f(path(file));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    void remove(const QString &file) const { QFile::remove(path(file)); }

    // The lines of events.log (empty when nothing was logged).
    QStringList events() const
    {
        const QString text = QString::fromUtf8(read(QStringLiteral("events.log")));
        QStringList lines = text.split(QLatin1Char('\n'));
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
            lines.append(QStringLiteral("<no line end>"));
        return lines;
    }

    void clearEvents() const { remove(QStringLiteral("events.log")); }

private:
    QString m_base;
    QString m_dir;
    int m_count = 0;
};

// Sends file descriptor 2 to a temporary file while it lives; text() gives what was written.
class StderrCapture {
public:
    StderrCapture()
    {
        m_file.open();
        std::fflush(stderr);
        m_saved = ::dup(2);
        ::dup2(m_file.handle(), 2);
    }
    ~StderrCapture() { restore(); }

    QByteArray text()
    {
        restore();
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        std::fflush(stderr);
        ::dup2(m_saved, 2);
        ::close(m_saved);
        m_saved = -1;
    }

    QTemporaryFile m_file;
    int m_saved = -1;
};

// The line the simulator prints for a state file it had to replace by a default.
inline QByteArray complaint(const QString &path, const QString &problem)
{
    return "benchtest sim: " + QFile::encodeName(path) + ": " + problem.toUtf8() + '\n';
}

} // namespace SimTest
