// LCD colour check: sixteen colour bars side by side, then (after "Continue") stacked as
// bands; the worker judges the colours by eye and presses "Continue" again to finish.
#pragma once

#include <QColor>
#include <QList>
#include <QRect>
#include <QWidget>

class FunctionButton;

class LcmInterface : public QWidget {
    Q_OBJECT
public:
    // Any other number is kept as given and draws as the horizontal bands.
    enum ColorDirection : int { Horizontal = 0, Vertical = 1 };

    explicit LcmInterface(QWidget *parent = nullptr);

    void setColorDirection(const ColorDirection &direction);
    ColorDirection colorDirection() const { return direction; }

    // Rectangle of colour index for the current direction; a null rectangle when out of range.
    QRect currentColorRects(int index) const;
    QList<QColor> colors() const { return colorList; }

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    void continueButtonClicked();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void initColorRects();
    void init();

    FunctionButton *continueButton = nullptr;
    ColorDirection direction = Vertical;
    QList<QRect> verticalRects;
    QList<QRect> horizontalRects;
    QList<QColor> colorList;
};
