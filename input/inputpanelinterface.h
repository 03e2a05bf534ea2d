// The touch keyboard the test screens open for a date, a time, a number, an IP setting or a
// MAC address: the field's text with the cursor character highlighted, digit keys (and A to F
// on the small hexadecimal panel), two cursor keys and OK.
#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;
class QSignalMapper;
class inputPanel;

namespace Ui {
class InputPanelInterface;
class inputpanelinterface_4;
class inputpanelinterface_hex_4;
} // namespace Ui

class InputPanelInterface : public QWidget {
    Q_OBJECT
public:
    enum BaseSystem { Decimal = 0, Hexadecimal = 1 };

    explicit InputPanelInterface(QWidget *parent = nullptr);
    explicit InputPanelInterface(InputPanelInterface::BaseSystem base, QWidget *parent = nullptr);
    ~InputPanelInterface() override;

    // Starts a new entry with the initial text and a field type key ("YMD", "time", "MAC",
    // ...). The client shows the panel itself.
    bool execEv(const QString &text, const QString &type);

Q_SIGNALS:
    void proceed(QString str);

public Q_SLOTS:
    void setText();
    void setPos();
    void finish();

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void init();
    void btnSetting();
    void mapping7InchDecButtons();
    void mapping4InchDecButtons();
    void mapping4InchHexButtons();
    void mapCommonButtons(const QList<QPushButton *> &digits, QPushButton *okButton,
        QPushButton *forwardButton, QPushButton *backwardButton, QLabel *label);
    QLabel *textLabel() const;

    Ui::InputPanelInterface *ui = nullptr;
    Ui::inputpanelinterface_4 *ui4 = nullptr;
    Ui::inputpanelinterface_hex_4 *uiHex4 = nullptr;
    QSignalMapper *signalMapper = nullptr;
    inputPanel *panel = nullptr;
    qint32 monitorModel = 0;
    BaseSystem base = Decimal;
};
