#include "caliinterface.h"

#include "calibration.h"

#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "common/shell.h"
#include "services/displayserver.h"
#include "services/fram.h"

#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>

#include <cstdio>
#include <utility>

caliInterface::caliInterface(QWidget *parent) : QWidget(parent)
{
    // kept: the panel size is asked twice, width from the first answer, height from the second
    xres = Fram::getInstance()->getMonitorPixel().first;
    yres = Fram::getInstance()->getMonitorPixel().second;

    // Top-left corners of the 20 x 20 cross image; the sampled point is its centre.
    targets << QPoint(50 - 10, 50 - 10) << QPoint(xres - 50 - 10, 50 - 10)
            << QPoint(xres - 50 - 10, yres - 50 - 10) << QPoint(50 - 10, yres - 50 - 10)
            << QPoint(xres / 2 - 10, yres / 2 - 10);

    QPixmap cross(20, 20);
    cross.fill(Qt::transparent);
    {
        QPainter painter(&cross);
        painter.setPen(Qt::white);
        painter.drawLine(10, 0, 10, 19);
        painter.drawLine(0, 10, 19, 10);
    }
    crossLabel = new QLabel(this);
    crossLabel->setObjectName(QStringLiteral("crossLabel"));
    crossLabel->setFixedSize(20, 20);
    crossLabel->setPixmap(cross);
    crossLabel->hide();

    buildHints(false);
    names << QStringLiteral("Top left") << QStringLiteral("Top right")
          << QStringLiteral("Bot right") << QStringLiteral("Bot left") << QStringLiteral("Center");

    squareFrame = new QFrame(this);
    squareFrame->setObjectName(QStringLiteral("frame"));
    squareFrame->setFixedSize(30, 30);
    squareFrame->move(110, 370);
    squareFrame->setCursor(Qt::CrossCursor);
    squareFrame->setAutoFillBackground(false);
    squareFrame->setFrameShape(QFrame::Box);
    squareFrame->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    squareFrame->move(xres / 2 - squareFrame->width() / 2, yres / 2 - squareFrame->height() / 2);
    squareFrame->hide();
    squareRect = squareFrame->geometry();

    setMouseTracking(true);
    installEventFilter(this);
    btnSetting();
}

void caliInterface::buildHints(bool shortWording)
{
    hints.clear();
    if (shortWording) {
        hints << tr("Please touch the cross at the Top-Left corner")
              << tr("Please touch the cross at the Top-Right corner")
              << tr("Please touch the cross at the Bottom-Right corner")
              << tr("Please touch the cross at the Bottom-Left corner")
              << tr("Please touch the cross at the center");
    } else {
        hints << tr("Please touch on the cross at the Top-Left corner")
              << tr("Please touch on the cross at the Top-Right corner")
              << tr("Please touch on the cross at the Bottom-Right corner")
              << tr("Please touch on the cross at the Bottom-Left corner")
              << tr("Please touch on the cross at the center");
    }
    // kept: "accuraccy" as the screen has always said it
    hints << tr("Please try the accuraccy of touch on the screen\nuntil you move the cursor to "
                "the center of square.")
          << tr("Accept new calibration?");
}

void caliInterface::exec()
{
    if (Fram::getInstance()->getOrientation() != 0)
        DisplayServer::setTransformation(0);
    switchBtn(false);
    QApplication::processEvents();
    doCalibration();
}

void caliInterface::isInit(bool init)
{
    initMode = init;
}

void caliInterface::btnSetting()
{
    againButton = new FunctionButton(tr("Again"), this);
    againButton->setObjectName(QStringLiteral("againPushButton"));
    againButton->hide();
    connect(againButton, &QPushButton::clicked, this, &caliInterface::on_againPushButton_clicked);
    nextButton = new FunctionButton(tr("Next"), this);
    nextButton->setObjectName(QStringLiteral("nextPushButton"));
    nextButton->hide();
    connect(nextButton, &QPushButton::clicked, this, &caliInterface::on_nextPushButton_clicked);

    const QRect screen = screenGeometry();
    const int w = screen.right() - screen.left() + 1;
    const int h = screen.bottom() - screen.top() + 1;
    againButton->move((w - 1) / 2 - (againButton->width() - 1) - 11, (h / 3) * 2);
    nextButton->move((w - 1) / 2 + 10, (h / 3) * 2);
}

void caliInterface::switchBtn(bool show)
{
    againButton->setVisible(show);
    nextButton->setVisible(show);
}

void caliInterface::setHint(const QString &hint)
{
    if (hint == currentHint)
        return;
    currentHint = hint;
    repaint();
}

void caliInterface::hideTheWeak()
{
    squareFrame->hide();
    crossLabel->hide();
    trackingPointer = false;
    trail.clear();
    repaint();
}

void caliInterface::reloadMouse()
{
    DisplayServer::closeMouse();
    DisplayServer::openMouse();
}

void caliInterface::doCalibration()
{
    hideTheWeak();
    backupCalibrationFiles();
    open_ts();
    reloadMouse();
    DisplayServer::hideCursor();

    calibration cal {};
    for (int i = 0; i < 5; ++i) {
        setHint(hints[i]);
        crossLabel->show();
        crossLabel->move(targets[i]);
        QApplication::processEvents();
        drainTouchInput();
        get_sample(
            ts, &cal, i, targets[i].x() + 10, targets[i].y() + 10, names[i].toLatin1().constData());
        Fram::getInstance()->makeSound(2);
        repaint();
    }
    crossLabel->hide();

    if (!perform_calibration(&cal)) {
        puts("perform calibration failed.");
        fflush(stdout);
        return;
    }
    saveCalibration(cal);
    runShell("sync");
    reloadMouse();
    DisplayServer::hideCursor();

    setHint(hints[5]);
    squareFrame->show();
    repaint();
    QApplication::processEvents();
    trackingPointer = true;
    QApplication::processEvents();
}

// The five-point least-squares fit, in single precision as the unit has always computed it.
int caliInterface::perform_calibration(calibration *cal)
{
    float n, x, y, x2, y2, xy, z, zx, zy;
    float det, a, b, c, e, f, i;
    const float scaling = 65536.0f;

    n = x = y = x2 = y2 = xy = 0;
    for (int j = 0; j < 5; j++) {
        n += 1.0f;
        x += (float)cal->rawX[j];
        y += (float)cal->rawY[j];
        x2 += (float)(cal->rawX[j] * cal->rawX[j]);
        y2 += (float)(cal->rawY[j] * cal->rawY[j]);
        xy += (float)(cal->rawX[j] * cal->rawY[j]);
    }

    det = n * (x2 * y2 - xy * xy) + x * (xy * y - x * y2) + y * (x * xy - y * x2);
    if (det < 0.1 && det > -0.1) {
        printf("ts_calibrate: determinant is too small -- %f\n", det);
        fflush(stdout);
        return 0;
    }

    a = (x2 * y2 - xy * xy) / det;
    b = (xy * y - x * y2) / det;
    c = (x * xy - y * x2) / det;
    e = (n * y2 - y * y) / det;
    f = (x * y - n * xy) / det;
    i = (n * x2 - x * x) / det;

    z = zx = zy = 0;
    for (int j = 0; j < 5; j++) {
        z += (float)cal->screenX[j];
        zx += (float)(cal->screenX[j] * cal->rawX[j]);
        zy += (float)(cal->screenX[j] * cal->rawY[j]);
    }
    cal->coeff[0] = (int)((a * z + b * zx + c * zy) * scaling);
    cal->coeff[1] = (int)((b * z + e * zx + f * zy) * scaling);
    cal->coeff[2] = (int)((c * z + f * zx + i * zy) * scaling);
    printf("%f %f %f\n", a * z + b * zx + c * zy, b * z + e * zx + f * zy, c * z + f * zx + i * zy);

    z = zx = zy = 0;
    for (int j = 0; j < 5; j++) {
        z += (float)cal->screenY[j];
        zx += (float)(cal->screenY[j] * cal->rawX[j]);
        zy += (float)(cal->screenY[j] * cal->rawY[j]);
    }
    cal->coeff[3] = (int)((a * z + b * zx + c * zy) * scaling);
    cal->coeff[4] = (int)((b * z + e * zx + f * zy) * scaling);
    cal->coeff[5] = (int)((c * z + f * zx + i * zy) * scaling);
    printf("%f %f %f\n", a * z + b * zx + c * zy, b * z + e * zx + f * zy, c * z + f * zx + i * zy);
    fflush(stdout);

    cal->coeff[6] = (int)scaling;
    return 1;
}

void caliInterface::mouseMoveEvent(QMouseEvent *event)
{
    if (!trackingPointer)
        return;
    if (!squareRect.contains(event->pos())) {
        trail.append(event->pos());
        repaint();
        return;
    }
    crossLabel->hide();
    Fram::getInstance()->makeSound(10);
    endCalibration();
}

void caliInterface::endCalibration()
{
    hideTheWeak();
    setHint(hints.last());
    switchBtn(true);
    puts("end cali, do restore setting");
    fflush(stdout);
    reloadMouse();
    DisplayServer::hideCursor();
}

void caliInterface::restoreOrientation()
{
    const int orientation = Fram::getInstance()->getOrientation();
    if (orientation != 0)
        DisplayServer::setTransformation(orientation);
}

void caliInterface::saveCaliSettings()
{
    applyCalibrationFiles();
    reloadMouse();
    DisplayServer::hideCursor();
    restoreOrientation();
    finished = true;
    initMode = false;
}

void caliInterface::on_nextPushButton_clicked()
{
    Fram::getInstance()->makeSound(2);
    saveCaliSettings();
    emit exitSignal();
}

void caliInterface::sorryWeCancel()
{
    restoreCalibrationFiles();
    if (!initMode) {
        reloadMouse();
        DisplayServer::hideCursor();
        restoreOrientation();
        finished = true;
    } else {
        // kept: in init mode the run starts here, and Again starts it once more afterwards
        switchBtn(false);
        QApplication::processEvents();
        doCalibration();
    }
}

void caliInterface::on_againPushButton_clicked()
{
    Fram::getInstance()->makeSound(2);
    sorryWeCancel();
    if (Fram::getInstance()->getOrientation() != 0)
        DisplayServer::setTransformation(0);
    switchBtn(false);
    QApplication::processEvents();
    doCalibration();
}

void caliInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setPointSize(16);
    painter.setFont(font);
    const int h = rect().bottom() - rect().top() + 1;
    painter.drawText(QRect(0, h / 4, width(), 2 * (h / 4) - h / 4), Qt::AlignCenter, currentHint);
    for (const QPoint &p : std::as_const(trail)) {
        painter.drawLine(p.x() - 10, p.y(), p.x() + 10, p.y());
        painter.drawLine(p.x(), p.y() - 10, p.x(), p.y() + 10);
    }
    painter.end();
    QWidget::paintEvent(event);
}

void caliInterface::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        buildHints(true);
    QWidget::changeEvent(event);
}

bool caliInterface::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress)
        Fram::getInstance()->makeSound(2);
    return QWidget::eventFilter(watched, event);
}
