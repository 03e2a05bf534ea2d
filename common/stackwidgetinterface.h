// Base of a test screen that the worker leaves with "Continue": a black page with the button
// just below the middle.
#pragma once

#include <QWidget>

class FunctionButton;

class StackWidgetInterface : public QWidget {
    Q_OBJECT
public:
    explicit StackWidgetInterface(QWidget *parent = nullptr);
    ~StackWidgetInterface() override;

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    virtual void continueButtonClicked();

protected:
    void paintEvent(QPaintEvent *event) override;

    FunctionButton *continueButton = nullptr;

private:
    void init();
};

// The page layout shared by the screens with a "Continue" button: a spacer half the page tall
// (the height the widget has when this runs), the button centred, a spacer an eighth tall.
void layOutContinuePage(QWidget *page, QWidget *button);
