#include "rtcinterface.h"

#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "input/inputpanelinterface.h"
#include "services/fram.h"
#include "services/krtc.h"

#include <QBoxLayout>
#include <QDebug>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QStackedWidget>
#include <QTimerEvent>

#include <ctime>

namespace {
const QString WhiteText = QStringLiteral("<font color='white'>%1</font>");
const QDateTime StartValue(QDate(2018, 10, 1), QTime(10, 10, 10));
constexpr int RedrawPeriod = 1000;
} // namespace

RtcInterface::RtcInterface(QWidget *parent) : QWidget(parent)
{
    init();
}

void RtcInterface::init()
{
    QFont widgetFont = font();
    widgetFont.setPixelSize(16);
    setFont(widgetFont);

    stackedWidget = new QStackedWidget;
    auto *layout = new QVBoxLayout;
    layout->addWidget(stackedWidget);
    setLayout(layout);

    auto *entryPage = new QWidget;
    inputPanel = new InputPanelInterface(entryPage);
    connect(inputPanel, &InputPanelInterface::proceed, this, &RtcInterface::editFinish);
    const QRect screen = screenGeometry();
    inputPanel->move(
        (screen.width() - inputPanel->width()) / 2, (screen.height() - inputPanel->height()) / 2);
    stackedWidget->addWidget(entryPage);

    auto *resultPage = new QWidget;
    dateLabel = new QLabel(WhiteText.arg(dateTime.toString(getDateFormat())));
    dateLabel->setObjectName(QStringLiteral("dateLabel"));
    timeLabel = new QLabel(WhiteText.arg(dateTime.toString(timeFormat)));
    timeLabel->setObjectName(QStringLiteral("timeLabel"));
    for (QLabel *label : { dateLabel, timeLabel }) {
        label->setAlignment(Qt::AlignCenter);
        label->setFont(widgetFont);
    }
    auto *againButton = new FunctionButton(tr("Again"));
    connect(againButton, &QPushButton::clicked, this, &RtcInterface::run);
    auto *nextButton = new FunctionButton(tr("Next"));
    connect(nextButton, &QPushButton::clicked, this, &RtcInterface::exit);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(againButton);
    buttons->addWidget(nextButton);
    auto *column = new QVBoxLayout;
    column->addStretch();
    column->addWidget(dateLabel);
    column->addWidget(timeLabel);
    column->addStretch();
    column->addLayout(buttons);
    resultPage->setLayout(column);
    stackedWidget->addWidget(resultPage);
    // The keyboard's frame lies partly outside the pages: a page change repaints the screen.
    connect(
        stackedWidget, &QStackedWidget::currentChanged, this, QOverload<>::of(&QWidget::update));
}

QString RtcInterface::getDateFormat()
{
    if (dateOrder.isEmpty())
        dateOrder = QStringLiteral("YMD");
    QStringList parts;
    const QString order = dateOrder;
    for (const QChar letter : order) {
        if (letter == QLatin1Char('Y'))
            parts.append(QStringLiteral("yyyy"));
        else if (letter == QLatin1Char('M'))
            parts.append(QStringLiteral("MM"));
        else if (letter == QLatin1Char('D'))
            parts.append(QStringLiteral("dd"));
    }
    return parts.join(QLatin1Char('/'));
}

void RtcInterface::updateScreen()
{
    dateLabel->setText(WhiteText.arg(dateTime.toString(getDateFormat())));
    timeLabel->setText(WhiteText.arg(dateTime.toString(timeFormat)));
}

void RtcInterface::updateDateTime()
{
    dateTime = StartValue;
}

void RtcInterface::updateTime()
{
    struct tm rtc = {};
    KRtc::getRtc(&rtc);
    dateTime.setTime(QTime(rtc.tm_hour, rtc.tm_min, rtc.tm_sec));
}

void RtcInterface::run()
{
    dateTime = StartValue;
    // kept: a timer of an earlier run is not stopped; its ticks are ignored from now on.
    timerId = startTimer(RedrawPeriod);
    stackedWidget->setCurrentIndex(0);
    inputPanel->execEv(dateTime.toString(getDateFormat()), dateOrder);
}

void RtcInterface::editFinish(QString str)
{
    qDebug() << "editFinish" << str;
    const QDate date = QDate::fromString(str, getDateFormat());
    const QTime time = QTime::fromString(str, timeFormat);
    if (date.isValid()) {
        dateTime.setDate(date);
        inputPanel->execEv(dateTime.time().toString(timeFormat), QStringLiteral("time"));
    } else if (time.isValid()) {
        dateTime.setTime(time);
        updateScreen();
        stackedWidget->setCurrentIndex(1);
    } else {
        qDebug() << "Invalid Date/Time";
    }
}

void RtcInterface::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != timerId)
        return;
    // kept: the shown time does not run on; the clock gets exactly what was entered.
    const QDateTime discarded = dateTime.addSecs(1);
    Q_UNUSED(discarded);
    updateScreen();
}

void RtcInterface::exit()
{
    if (timerId != -1) {
        killTimer(timerId);
        timerId = -1;
    }
    struct tm rtc = {};
    KRtc::getRtc(&rtc);
    const QDate date = dateTime.date();
    const QTime time = dateTime.time();
    rtc.tm_year = date.year() - 1900;
    rtc.tm_mon = date.month() - 1;
    rtc.tm_mday = date.day();
    // kept: Monday 1 to Sunday 7 and a day of year counted from 1, passed on unconverted.
    rtc.tm_wday = date.dayOfWeek();
    rtc.tm_yday = date.dayOfYear();
    rtc.tm_hour = time.hour();
    rtc.tm_min = time.minute();
    rtc.tm_sec = time.second();
    KRtc::setRtc(&rtc);
    Fram::getInstance()->makeSound(2);
    Q_EMIT exitSignal();
}

void RtcInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (stackedWidget->currentIndex() == 0) {
        // A frame behind the keyboard.
        const QPixmap frame = QPixmap(QStringLiteral(":/img/inputpanelBG.png"))
                                  .scaled(inputPanel->width() + 20, inputPanel->height() + 20,
                                      Qt::IgnoreAspectRatio, Qt::FastTransformation);
        painter.drawPixmap(
            (width() - frame.width()) / 2 + 10, (height() - frame.height()) / 2 + 10, frame);
    }
    painter.end();
    QWidget::paintEvent(event);
}
