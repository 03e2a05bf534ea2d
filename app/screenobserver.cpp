#include "screenobserver.h"

#include "comm/errordevicelistinterface.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSaveFile>
#include <QStackedWidget>
#include <QWidget>

namespace {

// A checked poll keeps the observer out of every screen's code; 20 ms is well below a
// worker's reaction and costs nothing when nothing changed.
constexpr int PollInterval = 20;

QString escaped(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    text.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    return text;
}

QString item(const char *kind, const QWidget *w, const QString &text)
{
    const QRect r(w->mapToGlobal(QPoint(0, 0)), w->size());
    return QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\t%7\t%8\n")
        .arg(QLatin1String(kind), QLatin1String(w->metaObject()->className()), w->objectName())
        .arg(r.x())
        .arg(r.y())
        .arg(r.width())
        .arg(r.height())
        .arg(escaped(text));
}

void describeWidget(const QWidget *w, QString &out)
{
    if (!w->isVisible())
        return;
    if (auto *box = qobject_cast<const QMessageBox *>(w))
        out += item("box", w, box->text());
    else if (auto *stack = qobject_cast<const QStackedWidget *>(w)) {
        if (QWidget *page = stack->currentWidget())
            out += item("page", page, QString::number(stack->currentIndex()));
    } else if (auto *button = qobject_cast<const QAbstractButton *>(w))
        out += item("button", w, button->text());
    else if (auto *label = qobject_cast<const QLabel *>(w)) {
        if (!label->text().isEmpty())
            out += item("label", w, label->text());
    } else if (auto *field = qobject_cast<const QLineEdit *>(w))
        out += item("field", w, field->text());
    else if (auto *list = qobject_cast<const ErrorDeviceListInterface *>(w))
        out += item("list", w, list->listText());
    else if (!w->objectName().isEmpty())
        out += item("widget", w, QString());
    for (QObject *child : w->children()) {
        if (auto *c = qobject_cast<QWidget *>(child)) {
            if (!c->isWindow())
                describeWidget(c, out);
        }
    }
}

} // namespace

ScreenObserver::ScreenObserver(const QString &path, QObject *parent) : QObject(parent), path(path)
{
    connect(&timer, &QTimer::timeout, this, &ScreenObserver::poll);
    timer.start(PollInterval);
    poll();
}

QString ScreenObserver::describe()
{
    QString out;
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (!w->isVisible())
            continue;
        out += item("window", w, w->windowTitle());
        describeWidget(w, out);
    }
    return out;
}

ScreenObserver *ScreenObserver::fromEnvironment(QObject *parent)
{
    const QString path = qEnvironmentVariable("BENCHTEST_OBSERVE");
    return path.isEmpty() ? nullptr : new ScreenObserver(path, parent);
}

void ScreenObserver::poll()
{
    const QString now = describe();
    if (now == last)
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(now.toUtf8());
    if (file.commit())
        last = now;
}
