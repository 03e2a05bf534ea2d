// The field being typed on the on-screen keyboard: its text in fixed-width sections, the
// cursor, and the rules that say whether a key or the finished value is acceptable.
#pragma once

#include <QList>
#include <QSignalMapper>
#include <QString>
#include <QWidget>

class inputPanel : public QWidget {
    Q_OBJECT
public:
    explicit inputPanel(QWidget *parent = nullptr);

    // Starts a new entry: picks the field type from its key and formats text into the field.
    void init(const QString &value, const QString &key);

    int setType(const QString &key);
    int getTypeCat();
    int getMax();
    int getCurrentSec();
    QString getText();
    int getPos();
    QString getDateFormat();

    bool validate(int num);
    bool validateFin();
    void errorSound();

Q_SIGNALS:
    void textChanged();
    void posChanged();

public Q_SLOTS:
    void forwardPos();
    void backwardPos();
    void textInputted(int num);
    void textInputted(const QString &letter);

private:
    void afterWrite();
    QChar separator() const;
    bool isNumberField() const { return type >= 3 && type <= 5; }

    QSignalMapper signalMapper;
    QString text;
    QString spare;
    qint32 type = -1;
    bool replacePending = false;
    QList<int> sectionStarts;
    qint32 pos = 0;
};
