// The opt-in screen description for a scripted operator: what it lists, how it escapes texts,
// and the file it keeps up to date only while BENCHTEST_OBSERVE names one.
#include "app/screenobserver.h"
#include "comm/errordevicelistinterface.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QtTest>

namespace {

QString scratch(const QString &name)
{
    return QDir(qEnvironmentVariable("BENCHTEST_SCRATCH_DIR")).filePath(name);
}

QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class tst_ScreenObserver : public QObject {
    Q_OBJECT

private slots:
    void listsVisibleItems();
    void offWithoutTheVariable();
    void fileFollowsTheScreen();
};

void tst_ScreenObserver::listsVisibleItems()
{
    QWidget window;
    window.setWindowTitle(QStringLiteral("main"));
    auto *layout = new QVBoxLayout(&window);
    auto *stack = new QStackedWidget;
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("firstPage"));
    stack->addWidget(page);
    layout->addWidget(stack);
    auto *label = new QLabel(QStringLiteral("two\nlines\tand a tab \\"));
    label->setObjectName(QStringLiteral("label"));
    layout->addWidget(label);
    auto *button = new QPushButton(QStringLiteral("Next"));
    layout->addWidget(button);
    auto *hidden = new QPushButton(QStringLiteral("Hidden"));
    layout->addWidget(hidden);
    auto *list = new ErrorDeviceListInterface;
    layout->addWidget(list);
    list->updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
    window.show();
    hidden->hide();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    const QStringList lines = ScreenObserver::describe().split(QLatin1Char('\n'));
    const auto find = [&](const QString &start) {
        for (const QString &line : lines)
            if (line.startsWith(start))
                return line;
        return QString();
    };
    QVERIFY(find(QStringLiteral("window\tQWidget\t\t")).endsWith(QStringLiteral("\tmain")));
    QVERIFY(find(QStringLiteral("page\tQWidget\tfirstPage\t")).endsWith(QStringLiteral("\t0")));
    const QString labelLine = find(QStringLiteral("label\tQLabel\tlabel\t"));
    QVERIFY2(labelLine.endsWith(QStringLiteral("\ttwo\\nlines\\tand a tab \\\\")),
        qPrintable(labelLine));
    const QString buttonLine = find(QStringLiteral("button\tQPushButton\t\t"));
    QVERIFY(buttonLine.endsWith(QStringLiteral("\tNext")));
    // Geometry in screen pixels: x, y, width, height.
    const QStringList f = buttonLine.split(QLatin1Char('\t'));
    QCOMPARE(f.size(), 8);
    const QPoint at = button->mapToGlobal(QPoint(0, 0));
    QCOMPARE(f[3].toInt(), at.x());
    QCOMPARE(f[4].toInt(), at.y());
    QCOMPARE(f[5].toInt(), button->width());
    QCOMPARE(f[6].toInt(), button->height());
    QVERIFY(find(QStringLiteral("button\tQPushButton\t\t")).indexOf(QStringLiteral("Hidden")) < 0);
    QVERIFY(!ScreenObserver::describe().contains(QStringLiteral("Hidden")));
    QVERIFY(find(QStringLiteral("list\tErrorDeviceListInterface\t"))
                .endsWith(QStringLiteral("\\nEthernet test fail!\\n")));
}

void tst_ScreenObserver::offWithoutTheVariable()
{
    qunsetenv("BENCHTEST_OBSERVE");
    QObject parent;
    QCOMPARE(ScreenObserver::fromEnvironment(&parent), nullptr);
    QVERIFY(parent.children().isEmpty());
}

void tst_ScreenObserver::fileFollowsTheScreen()
{
    const QString path = scratch(QStringLiteral("screen"));
    qputenv("BENCHTEST_OBSERVE", path.toUtf8());
    QObject parent;
    QVERIFY(ScreenObserver::fromEnvironment(&parent));
    qunsetenv("BENCHTEST_OBSERVE");

    QMessageBox box(QMessageBox::Information, QStringLiteral("QUORVAN"),
        QStringLiteral("Write MAC address success!!\nPlease restart machine!"), QMessageBox::Ok);
    box.show();
    QTRY_VERIFY(readText(path).contains(
        QStringLiteral("\tWrite MAC address success!!\\nPlease restart machine!\n")));
    QVERIFY(readText(path).contains(QStringLiteral("\tQUORVAN\n")));
    box.hide();
    QTRY_VERIFY(!readText(path).contains(QStringLiteral("Write MAC address success")));
}

QTEST_MAIN(tst_ScreenObserver)
#include "tst_screenobserver.moc"
