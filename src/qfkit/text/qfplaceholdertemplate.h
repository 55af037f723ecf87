#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// A text with placeholders that is filled many times with different values:
// the result is what replacing each placeholder, in the order given, by its
// value with QString::replace one after another gives, but the text is
// searched once, when the template is made, instead of once per placeholder
// per fill.
//
// Where a value could change what a later replacement finds (a value other
// than the last holding a '%', or a placeholder slot whose neighbouring
// characters could join a value into a later placeholder), filled() falls
// back to the replacements one after another, so the result never differs.
class QFPlaceholderTemplate final
{
public:
    QFPlaceholderTemplate() = default;
    QFPlaceholderTemplate(const QString &text, const QStringList &placeholders);

    // values[i] replaces placeholders[i]; missing values count as empty.
    QString filled(const QStringList &values) const;
    // filled(values).toUtf8(), with the template's own text encoded once.
    // Safe on any thread.
    QByteArray filledUtf8(const QStringList &values) const;

private:
    struct Piece
    {
        qsizetype start = 0;
        qsizetype length = 0;
        int slot = -1; // -1: text of the template; else the placeholder's index
    };

    QString sequentiallyReplaced(const QStringList &values) const;

    QString m_text;
    QStringList m_placeholders;
    QList<Piece> m_pieces;
    QList<QByteArray> m_utf8Pieces; // per piece, the template's text as UTF-8
    bool m_utf8Usable = false;
    qsizetype m_literalLength = 0;
    bool m_splitUsable = false;
};
