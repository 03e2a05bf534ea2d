// An opt-in view of what the screen shows, for a scripted operator: with BENCHTEST_OBSERVE set
// to a file name, the visible windows, pages, buttons, labels, message boxes and the error
// list are written to that file whenever they change. Off unless the variable is set.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class QWidget;

class ScreenObserver : public QObject {
    Q_OBJECT
public:
    explicit ScreenObserver(const QString &path, QObject *parent = nullptr);

    // The screen as text, one line per visible item (format in the README).
    static QString describe();

    // Starts an observer when BENCHTEST_OBSERVE names a file; null otherwise.
    static ScreenObserver *fromEnvironment(QObject *parent);

private:
    void poll();

    QString path;
    QString last;
    QTimer timer;
};
