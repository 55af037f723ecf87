#include "qfplaceholdertemplate.h"

namespace {

const QChar Percent(u'%');

// Each placeholder must open and close with '%' and hold none inside, so a
// later match can only start and end at placeholder boundaries.
bool wellFormed(const QString &placeholder)
{
    return placeholder.size() >= 2 && placeholder.front() == Percent && placeholder.back() == Percent
        && placeholder.count(Percent) == 2;
}

} // namespace

QFPlaceholderTemplate::QFPlaceholderTemplate(const QString &text, const QStringList &placeholders)
    : m_text(text)
    , m_placeholders(placeholders)
{
    for (const QString &placeholder : placeholders) {
        if (!wellFormed(placeholder))
            return;
    }

    // Split as the replacements one after another would find them: the
    // first placeholder in the whole text, each later one in what is left.
    QList<Piece> pieces{Piece{0, text.size(), -1}};
    for (int slot = 0; slot < placeholders.size(); ++slot) {
        const QString &placeholder = placeholders.at(slot);
        QList<Piece> next;
        for (const Piece &piece : std::as_const(pieces)) {
            if (piece.slot >= 0) {
                next.append(piece);
                continue;
            }
            const QStringView span = QStringView(text).mid(piece.start, piece.length);
            qsizetype from = 0;
            for (qsizetype at = span.indexOf(placeholder); at >= 0; at = span.indexOf(placeholder, from)) {
                if (at > from)
                    next.append(Piece{piece.start + from, at - from, -1});
                next.append(Piece{piece.start + at, placeholder.size(), slot});
                from = at + placeholder.size();
            }
            if (from < span.size())
                next.append(Piece{piece.start + from, span.size() - from, -1});
        }
        pieces = next;
    }

    // A later placeholder could form across an earlier slot only through
    // '%' in the template's own text or through the slot's neighbours.
    QString laterCharacters;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const Piece &piece = pieces.at(i);
        if (piece.slot < 0) {
            if (QStringView(text).mid(piece.start, piece.length).contains(Percent))
                return;
            m_literalLength += piece.length;
            continue;
        }
        if (piece.slot == placeholders.size() - 1)
            continue;
        laterCharacters.clear();
        for (int later = piece.slot + 1; later < placeholders.size(); ++later)
            laterCharacters += placeholders.at(later);
        const auto guarded = [&](qsizetype neighbour) {
            if (neighbour < 0 || neighbour >= pieces.size() || pieces.at(neighbour).slot >= 0)
                return false;
            const Piece &side = pieces.at(neighbour);
            const QChar c = neighbour < i ? text.at(side.start + side.length - 1) : text.at(side.start);
            return !laterCharacters.contains(c);
        };
        if (!guarded(i - 1) || !guarded(i + 1))
            return;
    }
    m_pieces = pieces;
    m_splitUsable = true;

    // Encoding piece by piece gives the same bytes unless a surrogate pair
    // would be split at a slot.
    m_utf8Usable = true;
    for (const Piece &piece : std::as_const(m_pieces)) {
        const QStringView span = QStringView(text).mid(piece.start, piece.length);
        if (piece.slot < 0 && !span.isEmpty() && (span.front().isLowSurrogate() || span.back().isHighSurrogate()))
            m_utf8Usable = false;
        m_utf8Pieces.append(piece.slot < 0 ? span.toUtf8() : QByteArray());
    }
}

QString QFPlaceholderTemplate::filled(const QStringList &values) const
{
    if (!m_splitUsable)
        return sequentiallyReplaced(values);
    for (qsizetype i = 0; i + 1 < m_placeholders.size() && i < values.size(); ++i) {
        if (values.at(i).contains(Percent))
            return sequentiallyReplaced(values);
    }
    qsizetype size = m_literalLength;
    for (const Piece &piece : m_pieces) {
        if (piece.slot >= 0 && piece.slot < values.size())
            size += values.at(piece.slot).size();
    }
    QString result;
    result.reserve(size);
    for (const Piece &piece : m_pieces) {
        if (piece.slot < 0)
            result.append(QStringView(m_text).mid(piece.start, piece.length));
        else if (piece.slot < values.size())
            result.append(values.at(piece.slot));
    }
    return result;
}

QByteArray QFPlaceholderTemplate::filledUtf8(const QStringList &values) const
{
    bool usable = m_splitUsable && m_utf8Usable;
    for (qsizetype i = 0; usable && i < values.size(); ++i) {
        const QString &value = values.at(i);
        if ((i + 1 < m_placeholders.size() && value.contains(Percent))
            || (!value.isEmpty() && (value.front().isLowSurrogate() || value.back().isHighSurrogate())))
            usable = false;
    }
    if (!usable)
        return filled(values).toUtf8();
    QList<QByteArray> encoded;
    encoded.reserve(values.size());
    qsizetype size = 0;
    for (const QString &value : values) {
        encoded.append(value.toUtf8());
        size += encoded.constLast().size();
    }
    for (const QByteArray &piece : m_utf8Pieces)
        size += piece.size();
    QByteArray result;
    result.reserve(size);
    for (qsizetype i = 0; i < m_pieces.size(); ++i) {
        const int slot = m_pieces.at(i).slot;
        if (slot < 0)
            result.append(m_utf8Pieces.at(i));
        else if (slot < encoded.size())
            result.append(encoded.at(slot));
    }
    return result;
}

QString QFPlaceholderTemplate::sequentiallyReplaced(const QStringList &values) const
{
    QString result = m_text;
    for (qsizetype i = 0; i < m_placeholders.size(); ++i)
        result.replace(m_placeholders.at(i), i < values.size() ? values.at(i) : QString());
    return result;
}
