// The slave tester: the partner unit that echoes every byte it receives on its serial ports
// and from TCP clients back to the sender, and shows the traffic in one pane per port.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QWidget>

namespace Ui {
class TesterInterface;
}

class AcceptingServer;
class QTimer;
class ReadingThread;

class TesterInterface : public QWidget {
    Q_OBJECT
public:
    // TCP port on which the tester serves its echo.
    static constexpr quint16 TcpPort = 36888;

    // Serves COM1..COM3.
    explicit TesterInterface(QWidget *parent = nullptr);
    // Serves the three given port paths instead (a bench wired differently, or a test's
    // pseudo-terminals); they fill the COM1..COM3 panes in this order.
    explicit TesterInterface(const QStringList &portPaths, QWidget *parent = nullptr);
    ~TesterInterface() override;

public Q_SLOTS:
    void run();
    void createTcpServerConnection();
    void closeSocketConnection();
    void receieveSocketData();
    void startReading();
    void textEditUpdate(int count, QByteArray data);

private Q_SLOTS:
    void listenForClients();
    void acceptFailed(const QString &reason);

private:
    void init();
    void showEthernetText(const QString &text);
    void showNextEthernetBlock();

    Ui::TesterInterface *ui = nullptr;
    AcceptingServer *server = nullptr;
    QTimer *timer = nullptr;
    ReadingThread *port1Thread = nullptr;
    ReadingThread *port2Thread = nullptr;
    ReadingThread *port3Thread = nullptr;
    QString lastPort;
    QString lastText;
    QStringList paths;
    // The reason the last listen() failed, so that a port that stays taken is reported once.
    QString listenError;
    bool acceptErrorReported = false;
    // Received TCP blocks not drawn yet. Each is drawn on its own (so the pane clears on the
    // block that overflows it) once the line has been quiet for a moment: a client waiting for
    // its echo to send the next block never waits for the drawing.
    QStringList pendingEthernetBlocks;
    QTimer *ethernetPaneTimer = nullptr;
    QElapsedTimer lastEthernetBlock;
};
