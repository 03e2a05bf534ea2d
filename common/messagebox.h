// The program's modal message boxes (title, text, the single Ok button), in one place so that
// a test can answer them instead of a worker.
#pragma once

#include <QMessageBox>
#include <QString>

#include <functional>

class QWidget;

class MessageBox {
public:
    // Shows a modal critical (information) box with the single Ok button and waits for it.
    static QMessageBox::StandardButton critical(
        QWidget *parent, const QString &title, const QString &text);
    static QMessageBox::StandardButton information(
        QWidget *parent, const QString &title, const QString &text);

    // When set, each box is shown without waiting and handed to the answer, whose button is
    // taken as the worker's; the box is closed afterwards. An empty function restores waiting.
    using Answer = std::function<QMessageBox::StandardButton(QMessageBox &box)>;
    static void setAnswer(Answer answer);

private:
    static QMessageBox::StandardButton show(
        QMessageBox::Icon icon, QWidget *parent, const QString &title, const QString &text);
};
