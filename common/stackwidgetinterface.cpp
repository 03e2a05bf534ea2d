#include "common/stackwidgetinterface.h"

#include "common/functionbutton.h"

#include <QBoxLayout>
#include <QPainter>
#include <QSpacerItem>

void layOutContinuePage(QWidget *page, QWidget *button)
{
    QFont font = page->font();
    font.setPixelSize(16);
    page->setFont(font);

    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(button);
    row->addStretch();

    const int height = page->height();
    auto *column = new QVBoxLayout;
    column->setSpacing(0);
    column->setContentsMargins(0, 0, 0, 0);
    column->addItem(new QSpacerItem(100, height / 2, QSizePolicy::Expanding, QSizePolicy::Fixed));
    column->addLayout(row);
    column->addItem(new QSpacerItem(100, height / 8, QSizePolicy::Expanding, QSizePolicy::Fixed));
    page->setLayout(column);
}

StackWidgetInterface::StackWidgetInterface(QWidget *parent) : QWidget(parent)
{
    init();
}

StackWidgetInterface::~StackWidgetInterface() = default;

void StackWidgetInterface::init()
{
    continueButton = new FunctionButton(tr("Continue"));
    connect(
        continueButton, &QPushButton::clicked, this, &StackWidgetInterface::continueButtonClicked);
    layOutContinuePage(this, continueButton);
}

void StackWidgetInterface::continueButtonClicked()
{
    Q_EMIT exitSignal();
}

void StackWidgetInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    QWidget::paintEvent(event);
}
