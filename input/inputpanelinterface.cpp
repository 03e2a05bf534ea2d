#include "inputpanelinterface.h"

#include "common/panelmodel.h"
#include "common/qtcompat.h"
#include "inputpanel.h"
#include "services/fram.h"
#include "ui_inputpanelinterface.h"
#include "ui_inputpanelinterface_4.h"
#include "ui_inputpanelinterface_hex_4.h"

#include <QEvent>
#include <QSignalMapper>

namespace {

const QString keyStyleSheet = QStringLiteral(
    "QPushButton{\n border-image: url(:/img/inputBtn.png) 0 0 0 0 stretch stretch; font: 75 "
    "24pt \"Microsoft JhengHei\";}\nQPushButton:Pressed {\n border-image: "
    "url(:/img/inputBtn1.png) 0 0 0 0 stretch stretch;\n font: 75 24pt \"Microsoft "
    "JhengHei\";}\n");

} // namespace

InputPanelInterface::InputPanelInterface(QWidget *parent) : QWidget(parent)
{
    init();
}

InputPanelInterface::InputPanelInterface(InputPanelInterface::BaseSystem base, QWidget *parent)
    : QWidget(parent), base(base)
{
    init();
}

InputPanelInterface::~InputPanelInterface()
{
    delete signalMapper;
    delete panel;
    delete ui;
    delete ui4;
    delete uiHex4;
}

void InputPanelInterface::init()
{
    monitorModel = Fram::getInstance()->getMonitorModel();
    if (PanelModel::isFourInch(monitorModel)) {
        if (base == Decimal) {
            ui4 = new Ui::inputpanelinterface_4;
            ui4->setupUi(this);
        } else {
            uiHex4 = new Ui::inputpanelinterface_hex_4;
            uiHex4->setupUi(this);
        }
    } else {
        // The large panels have no letter keys, even for a hexadecimal panel.
        ui = new Ui::InputPanelInterface;
        ui->setupUi(this);
    }

    panel = new inputPanel;
    signalMapper = new QSignalMapper;
    btnSetting();

    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);

    const QRect screen = screenGeometry();
    move((screen.width() - width()) / 2, (screen.height() - height()) / 2);

    // A new sheet is pushed down to the children only when they are polished; until then the
    // 7-inch form's own sheet would stay in force on the keys (without the key font).
    ensurePolished();
    setStyleSheet(keyStyleSheet);
}

void InputPanelInterface::btnSetting()
{
    if (PanelModel::isFourInch(monitorModel)) {
        if (base == Decimal)
            mapping4InchDecButtons();
        else
            mapping4InchHexButtons();
    } else {
        mapping7InchDecButtons();
    }

    connectMappedInt(signalMapper, panel, QOverload<int>::of(&inputPanel::textInputted));
    connectMappedString(
        signalMapper, panel, QOverload<const QString &>::of(&inputPanel::textInputted));
    connect(panel, &inputPanel::textChanged, this, &InputPanelInterface::setText);
    connect(panel, &inputPanel::posChanged, this, &InputPanelInterface::setPos);

    // Every key clicks the buzzer when pressed, whatever the model then makes of it.
    const QList<QPushButton *> buttons = findChildren<QPushButton *>();
    for (QPushButton *button : buttons)
        button->installEventFilter(this);
}

void InputPanelInterface::mapCommonButtons(const QList<QPushButton *> &digits,
    QPushButton *okButton, QPushButton *forwardButton, QPushButton *backwardButton, QLabel *label)
{
    for (int digit = 0; digit < digits.size(); ++digit) {
        signalMapper->setMapping(digits.at(digit), digit);
        connect(digits.at(digit), &QPushButton::clicked, signalMapper,
            QOverload<>::of(&QSignalMapper::map));
    }
    connect(okButton, &QPushButton::clicked, this, &InputPanelInterface::finish);
    connect(forwardButton, &QPushButton::clicked, panel, &inputPanel::forwardPos);
    connect(backwardButton, &QPushButton::clicked, panel, &inputPanel::backwardPos);
    label->setTextFormat(Qt::RichText);
}

void InputPanelInterface::mapping7InchDecButtons()
{
    mapCommonButtons(
        { ui->numberBtn_0, ui->numberBtn_1, ui->numberBtn_2, ui->numberBtn_3, ui->numberBtn_4,
            ui->numberBtn_5, ui->numberBtn_6, ui->numberBtn_7, ui->numberBtn_8, ui->numberBtn_9 },
        ui->OKBtn, ui->forwardBtn, ui->backwardBtn, ui->textLabel);
}

void InputPanelInterface::mapping4InchDecButtons()
{
    mapCommonButtons({ ui4->numberBtn_0, ui4->numberBtn_1, ui4->numberBtn_2, ui4->numberBtn_3,
                         ui4->numberBtn_4, ui4->numberBtn_5, ui4->numberBtn_6, ui4->numberBtn_7,
                         ui4->numberBtn_8, ui4->numberBtn_9 },
        ui4->OKBtn, ui4->forwardBtn, ui4->backwardBtn, ui4->textLabel);
}

void InputPanelInterface::mapping4InchHexButtons()
{
    mapCommonButtons(
        { uiHex4->numberBtn_0, uiHex4->numberBtn_1, uiHex4->numberBtn_2, uiHex4->numberBtn_3,
            uiHex4->numberBtn_4, uiHex4->numberBtn_5, uiHex4->numberBtn_6, uiHex4->numberBtn_7,
            uiHex4->numberBtn_8, uiHex4->numberBtn_9 },
        uiHex4->OKBtn, uiHex4->forwardBtn, uiHex4->backwardBtn, uiHex4->textLabel);

    const QList<QPair<QPushButton *, QString>> letters = {
        { uiHex4->numberBtn_A, QStringLiteral("A") },
        { uiHex4->numberBtn_B, QStringLiteral("B") },
        { uiHex4->numberBtn_C, QStringLiteral("C") },
        { uiHex4->numberBtn_D, QStringLiteral("D") },
        { uiHex4->numberBtn_E, QStringLiteral("E") },
        { uiHex4->numberBtn_F, QStringLiteral("F") },
    };
    for (const auto &letter : letters) {
        signalMapper->setMapping(letter.first, letter.second);
        connect(letter.first, &QPushButton::clicked, signalMapper,
            QOverload<>::of(&QSignalMapper::map));
    }
}

QLabel *InputPanelInterface::textLabel() const
{
    if (ui)
        return ui->textLabel;
    if (ui4)
        return ui4->textLabel;
    return uiHex4->textLabel;
}

bool InputPanelInterface::execEv(const QString &text, const QString &type)
{
    panel->init(text, type);
    return true;
}

void InputPanelInterface::setText()
{
    // The cursor character is drawn black on the label's white text.
    QString shown = panel->getText();
    const int p = panel->getPos();
    shown.insert(p + 1, QStringLiteral("</span>"));
    shown.insert(p, QStringLiteral("<span style=\" color:#000000;\">"));
    textLabel()->setText(shown);
}

void InputPanelInterface::setPos()
{
    setText();
}

void InputPanelInterface::finish()
{
    const QString str = panel->getText();
    // On a refusal validateFin has already put the cursor on the faulty section.
    if (panel->validateFin())
        Q_EMIT proceed(str);
    else
        panel->errorSound();
}

void InputPanelInterface::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange && panel) {
        if (ui)
            ui->retranslateUi(this);
        else if (ui4)
            ui4->retranslateUi(this);
        else
            uiHex4->retranslateUi(this);
        // Retranslation puts the placeholder back into the label; show the field again.
        setText();
    }
    QWidget::changeEvent(event);
}

bool InputPanelInterface::eventFilter(QObject *obj, QEvent *ev)
{
    if (ev->type() == QEvent::MouseButtonPress)
        Fram::getInstance()->makeSound(2);
    return QWidget::eventFilter(obj, ev);
}
