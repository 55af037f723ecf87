#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>

// What an alert asks: a headline (messageText), an optional longer
// explanation (informativeText) and the buttons to answer with. Button 0 is
// the default button; an empty list means a single "OK".
struct QFAlertRequest
{
    enum class Style { Informational, Warning, Critical };

    Style style = Style::Informational;
    QString messageText;
    QString informativeText;
    QStringList buttons;

    // The buttons actually shown: the list, or {"OK"} when it is empty.
    QStringList effectiveButtons() const;

    friend bool operator==(const QFAlertRequest &a, const QFAlertRequest &b)
    {
        return a.style == b.style && a.messageText == b.messageText
            && a.informativeText == b.informativeText && a.buttons == b.buttons;
    }
};

Q_DECLARE_METATYPE(QFAlertRequest)
