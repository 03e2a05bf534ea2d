#include "inputpanel.h"

#include "services/fram.h"

#include <QDate>
#include <QDebug>
#include <QStringList>
#include <QTime>

#include <utility>

namespace {

struct FieldType {
    const char *key;
    int max;
};

// Indexed by type code.
const FieldType fieldTypes[] = {
    { "IP", 255 },
    { "mask", 255 },
    { "gateway", 255 },
    { "port", 65535 },
    { "backlight", 20 },
    { "screensaver", 60 },
    { "YMD", -1 },
    { "MDY", -1 },
    { "DMY", -1 },
    { "time", -1 },
    { "MAC", -1 },
};
const int fieldTypeCount = int(sizeof(fieldTypes) / sizeof(fieldTypes[0]));

const QString timeFormat = QStringLiteral("hh:mm:ss");

// The parts of an address, as the keyboard checks them: parts 0 to 3 of text split at ".",
// each a base-10 number of at most 255. Returns the first bad part, or -1.
int badAddressPart(const QString &address)
{
    const QStringList parts = address.split(QLatin1Char('.'));
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        const int value = parts.value(i).toInt(&ok, 10);
        if (!ok || value > 255)
            return i;
    }
    return -1;
}

bool isAcceptedDate(const QDate &date)
{
    return date.isValid() && date.year() >= 2000 && date.year() < 2100;
}

} // namespace

inputPanel::inputPanel(QWidget *parent) : QWidget(parent) { }

void inputPanel::init(const QString &value, const QString &key)
{
    sectionStarts.clear();
    text.clear();
    type = setType(key);

    switch (type) {
    case 0:
    case 1:
    case 2:
        for (int i = 0; i < 4; ++i) {
            sectionStarts.append(4 * i);
            // A part longer than three digits is kept whole so that the worker sees it.
            text += value.section(QLatin1Char('.'), i, i).rightJustified(3, QLatin1Char('0'));
            if (i < 3)
                text += QLatin1Char('.');
        }
        break;
    case 3:
    case 4:
    case 5:
        text = value;
        break;
    case 6:
    case 7:
    case 8: {
        const int yearSection = key.indexOf(QLatin1Char('Y'));
        int start = 0;
        int previousWidth = 0;
        for (int i = 0; i < 3; ++i) {
            const int width = i == yearSection ? 4 : 2;
            if (i > 0)
                start += previousWidth + 1;
            sectionStarts.append(start);
            text += value.section(QLatin1Char('/'), i, i).rightJustified(width, QLatin1Char('0'));
            if (i < 2)
                text += QLatin1Char('/');
            previousWidth = width;
        }
        break;
    }
    case 9:
    case 10: {
        const int sections = type == 9 ? 3 : 6;
        for (int i = 0; i < sections; ++i) {
            sectionStarts.append(3 * i);
            text += value.section(QLatin1Char(':'), i, i).rightJustified(2, QLatin1Char('0'));
            if (i < sections - 1)
                text += QLatin1Char(':');
        }
        break;
    }
    default:
        break;
    }

    // A MAC address starts at the fourth octet: the first three are the vendor prefix. Every
    // date order starts at index 5.
    if (type == 10)
        pos = 9;
    else if (type >= 6 && type <= 8)
        pos = 5;
    else
        pos = 0;

    Q_EMIT textChanged();
    replacePending = true;
}

int inputPanel::setType(const QString &key)
{
    for (int code = 0; code < fieldTypeCount; ++code) {
        if (key == QLatin1String(fieldTypes[code].key))
            return code;
    }
    qDebug() << "setType FUCKKK!!!!";
    return -1;
}

int inputPanel::getTypeCat()
{
    switch (type) {
    case 0:
    case 1:
    case 2:
        return 0;
    case 3:
    case 4:
    case 5:
        return 1;
    case 6:
    case 7:
    case 8:
        return 2;
    case 9:
        return 3;
    case 10:
        return 4;
    default:
        qDebug() << "fuck!!!!";
        return -1;
    }
}

int inputPanel::getMax()
{
    if (type >= 0 && type <= 5)
        return fieldTypes[type].max;
    return -1;
}

int inputPanel::getCurrentSec()
{
    return -1;
}

QString inputPanel::getText()
{
    return text;
}

int inputPanel::getPos()
{
    return pos;
}

QString inputPanel::getDateFormat()
{
    if (getTypeCat() == 2) {
        switch (type) {
        case 6:
            return QStringLiteral("yyyy/MM/dd");
        case 7:
            return QStringLiteral("MM/dd/yyyy");
        default:
            return QStringLiteral("dd/MM/yyyy");
        }
    }
    qDebug() << "meiiiiiiiii???";
    return QString();
}

void inputPanel::forwardPos()
{
    if (getTypeCat() == 1)
        return;

    if (!sectionStarts.isEmpty() && pos < sectionStarts.last()) {
        for (const int start : std::as_const(sectionStarts)) {
            if (start > pos) {
                pos = start;
                break;
            }
        }
    } else {
        pos = 0;
    }
    Q_EMIT posChanged();
}

void inputPanel::backwardPos()
{
    if (getTypeCat() == 1) {
        // Back on a number means typing it anew.
        pos = 0;
        replacePending = true;
        Q_EMIT posChanged();
        return;
    }

    // No wrap backwards: in the first section the cursor stays.
    for (int i = sectionStarts.size() - 1; i >= 0; --i) {
        if (sectionStarts.at(i) < pos) {
            pos = sectionStarts.at(i);
            break;
        }
    }
    Q_EMIT posChanged();
}

void inputPanel::textInputted(int num)
{
    if (num > 9 || num < 0) {
        qDebug() << "wtf is this number?" << num;
        return;
    }

    const QString digit = QString::number(num);
    if (isNumberField()) {
        if (replacePending && !text.isEmpty())
            text.clear();
        if (!validate(num)) {
            errorSound();
            return;
        }
        if (replacePending)
            text.replace(pos, 1, digit);
        else
            text.append(digit);
    } else {
        // In a sectioned field the tone only warns: the digit is written all the same and
        // the final check catches what is still wrong.
        if (!validate(num))
            errorSound();
        text.replace(pos, 1, digit);
    }
    afterWrite();
}

void inputPanel::textInputted(const QString &letter)
{
    // Only the letter keys call this; an empty text would delete a character of the field.
    if (letter.isEmpty())
        return;

    if (getTypeCat() == 1) {
        if (replacePending) {
            text.clear();
            text.replace(pos, 1, letter);
        } else {
            text.append(letter);
        }
    } else {
        text.replace(pos, 1, letter);
    }
    afterWrite();
}

void inputPanel::afterWrite()
{
    replacePending = false;
    // The cursor steps over separators and stops on the last character.
    if (pos < text.size() - 1) {
        ++pos;
        if (pos < text.size() - 1 && text.at(pos) == separator())
            ++pos;
    }
    Q_EMIT textChanged();
}

QChar inputPanel::separator() const
{
    if (type >= 0 && type <= 2)
        return QLatin1Char('.');
    if (type >= 6 && type <= 8)
        return QLatin1Char('/');
    if (type == 9 || type == 10)
        return QLatin1Char(':');
    return QChar();
}

bool inputPanel::validate(int num)
{
    const QString digit = QString::number(num);
    switch (type) {
    case 0:
    case 1:
    case 2: {
        QString candidate = text;
        candidate.replace(pos, 1, digit);
        return badAddressPart(candidate) < 0;
    }
    case 3:
    case 4:
    case 5: {
        bool ok = false;
        const int n = text.toInt(&ok, 10);
        const qint64 candidate = qint64(n) * 10 + num;
        if (candidate > getMax())
            return false;
        // One leading zero is fine ("0", "05"); a second one is not.
        if (candidate == 0 && n == 0 && ok)
            return false;
        return true;
    }
    case 6:
    case 7:
    case 8: {
        QString candidate = text;
        candidate.replace(pos, 1, digit);
        return isAcceptedDate(QDate::fromString(candidate, getDateFormat()));
    }
    case 9:
        // The text as it was before this digit: a time field only complains when it was
        // already wrong.
        return QTime::fromString(text, timeFormat).isValid();
    case 10:
        return true;
    default:
        qDebug() << "fuck!!!!";
        return true;
    }
}

bool inputPanel::validateFin()
{
    switch (type) {
    case 0:
    case 1:
    case 2: {
        const int bad = badAddressPart(text);
        if (bad < 0)
            return true;
        pos = sectionStarts.value(bad);
        Q_EMIT posChanged();
        return false;
    }
    case 3:
    case 4:
    case 5:
        // A text that is no number counts as 0, so an empty field passes.
        return text.toInt(nullptr, 10) <= getMax();
    case 6:
    case 7:
    case 8:
        if (isAcceptedDate(QDate::fromString(text, getDateFormat())))
            return true;
        pos = 0;
        Q_EMIT posChanged();
        return false;
    case 9:
        if (QTime::fromString(text, timeFormat).isValid())
            return true;
        pos = 0;
        Q_EMIT posChanged();
        return false;
    case 10:
        return true;
    default:
        qDebug() << "fuck!!!!";
        return true;
    }
}

void inputPanel::errorSound()
{
    Fram::getInstance()->makeSound(5);
}
