#include "common/messagebox.h"

namespace {
MessageBox::Answer &answerHook()
{
    static MessageBox::Answer answer;
    return answer;
}
} // namespace

QMessageBox::StandardButton MessageBox::critical(
    QWidget *parent, const QString &title, const QString &text)
{
    return show(QMessageBox::Critical, parent, title, text);
}

QMessageBox::StandardButton MessageBox::information(
    QWidget *parent, const QString &title, const QString &text)
{
    return show(QMessageBox::Information, parent, title, text);
}

void MessageBox::setAnswer(Answer answer)
{
    answerHook() = std::move(answer);
}

QMessageBox::StandardButton MessageBox::show(
    QMessageBox::Icon icon, QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(icon, title, text, QMessageBox::Ok, parent);
    const Answer answer = answerHook();
    if (!answer)
        return QMessageBox::StandardButton(box.exec());
    box.show();
    const QMessageBox::StandardButton button = answer(box);
    box.hide();
    return button;
}
