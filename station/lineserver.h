// The station's HTTP endpoint: POST /api/lines adds a batch of one run's record lines and
// answers only after they are committed. Nothing else can be done through it; the yield report's
// pages beside it only read (station/reportpages.h).
#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

class LineStore;
class QHttpServer;
class QHttpServerRequest;
class QHttpServerResponse;

class LineServer : public QObject {
    Q_OBJECT
public:
    static constexpr int MaxBodyBytes = 512 * 1024;
    static constexpr int MaxBatchLines = 1000;

    explicit LineServer(LineStore *store, QObject *parent = nullptr);
    ~LineServer() override;

    // False with the reason in lastError() when the address cannot be bound.
    bool listen(const QHostAddress &address, quint16 port);
    QString lastError() const { return error; }

private:
    QHttpServerResponse addLines(const QHttpServerRequest &request);

    LineStore *store = nullptr;
    QHttpServer *http = nullptr;
    QString error;
};
