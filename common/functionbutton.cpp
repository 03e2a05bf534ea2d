#include "common/functionbutton.h"

#include "common/panelmodel.h"
#include "common/qtcompat.h"

#include <QApplication>

const QString FunctionButton::StyleSheet = QStringLiteral(
    "QPushButton{\n\tfont: 16pt \"Microsoft JhengHei\";\n\tcolor: rgb(215, 215, 215);\n"
    "    border-image: url(:/img/plain button.png) 0 0 0 0 stretch stretch;    outline: 0;\n"
    "}QPushButton:Pressed{\n\tfont: 16pt \"Microsoft JhengHei\";\n\tcolor: rgb(255, 255, 255);\n"
    "    border-image: url(:/img/plain button1.png) 0 0 0 0 stretch stretch;    outline: 0;\n}\n");

FunctionButton::FunctionButton(const QString &text, QWidget *parent) : QPushButton(text, parent)
{
    init();
}

FunctionButton::FunctionButton(QWidget *parent) : QPushButton(parent)
{
    init();
}

void FunctionButton::init()
{
    // Setting a sheet re-polishes every widget of the application, even when the text is the
    // one already in place; a screen makes dozens of buttons, so only a change is set.
    if (qApp->styleSheet() != StyleSheet)
        qApp->setStyleSheet(StyleSheet);

    // Sized for the two panels the bench knows; other screens keep the natural size.
    const QRect screen = screenGeometry();
    if (PanelModel::isLargePanelScreen(screen))
        setFixedSize(224, 42);
    else if (PanelModel::isFourInchScreen(screen))
        setFixedSize(145, 42);
    else if (PanelModel::isBelowFourInchScreen(screen))
        setFixedSize(100, 42);
}
