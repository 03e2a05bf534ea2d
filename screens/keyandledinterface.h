// Menu key and LED check: the worker presses the menu key three times, watching its LED,
// before "Continue" lets them go on.
#pragma once

#include "common/stackwidgetinterface.h"
#include "services/keydevice.h"

#include <QString>

class QSocketNotifier;

// kept: flipped by a press in toggle mode, which nothing switches on.
extern int g_toogleState;

class KeyAndLedInterface : public StackWidgetInterface {
    Q_OBJECT
public:
    // One record of the key's event device, as the unit's kernel writes it.
    using input_event = KeyEventRecord;

    explicit KeyAndLedInterface(QWidget *parent = nullptr);
    ~KeyAndLedInterface() override;

    QString hintText() const;
    void processHomekey(input_event *e);

public Q_SLOTS:
    void continueButtonClicked() override;
    void reset();
    void readKeyData();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void init();
    void countPress();

    qint32 keyFd = -1;
    bool toggleMode = false;
    QSocketNotifier *notifier = nullptr;
    qint32 pressCount = 0;
};
