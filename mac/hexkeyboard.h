// The small panel's MAC keyboard: the hexadecimal input panel on its own framed background,
// a separate top-level window over the MAC screen.
#pragma once

#include <QWidget>

class InputPanelInterface;

class HexKeyboard : public QWidget {
    Q_OBJECT
public:
    explicit HexKeyboard(QWidget *parent = nullptr);

    InputPanelInterface *panel = nullptr;

protected:
    void paintEvent(QPaintEvent *event) override;
};
