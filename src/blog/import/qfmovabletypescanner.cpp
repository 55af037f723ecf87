#include "qfmovabletypescanner.h"

#include "blog/import/qfwhitespacechecker.h"
#include "qfkit/support/qfexception.h"

namespace {

constexpr QStringView kNewLine = u"\n";
constexpr QStringView kShortSeparator = u"-----";
constexpr QStringView kFieldHeaderEnd = u": ";
// What ends a chunk of a long section, and what is consumed after it.
constexpr QStringView kSectionEnd = u"\n-----";
constexpr QStringView kSectionEndLine = u"\n-----\n";
constexpr QStringView kEntrySeparatorLine = u"\n--------\n";
constexpr QStringView kNineHyphenLine = u"\n---------";

} // namespace

QFMovableTypeScanner::QFMovableTypeScanner(QString text)
    : m_text(std::move(text))
{
}

QString QFMovableTypeScanner::exceptionName()
{
    return QStringLiteral("NSScanner+MovableTypeExportedText");
}

bool QFMovableTypeScanner::isKeyCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'A' && u <= u'Z') || u == u'_' || u == u' ';
}

void QFMovableTypeScanner::setScanLocation(qsizetype location)
{
    m_location = qBound(qsizetype(0), location, m_text.size());
}

QString QFMovableTypeScanner::remainingString() const
{
    return m_text.mid(m_location);
}

bool QFMovableTypeScanner::scanString(QStringView text)
{
    if (text.isEmpty() || !QStringView(m_text).sliced(m_location).startsWith(text))
        return false;
    m_location += text.size();
    return true;
}

QString QFMovableTypeScanner::scanUpToString(QStringView text)
{
    qsizetype end = m_text.indexOf(text, m_location);
    if (end < 0)
        end = m_text.size();
    const QString scanned = m_text.mid(m_location, end - m_location);
    m_location = end;
    return scanned;
}

QString QFMovableTypeScanner::scanKeyCharacters()
{
    const qsizetype start = m_location;
    while (m_location < m_text.size() && isKeyCharacter(m_text.at(m_location)))
        ++m_location;
    return m_text.mid(start, m_location - start);
}

void QFMovableTypeScanner::raise(const char *operation)
{
    throw QFException(exceptionName(), QStringLiteral("%1 failed").arg(QLatin1String(operation)));
}

bool QFMovableTypeScanner::scanNewLine()
{
    if (!scanString(kNewLine))
        raise("scanNewLine");
    return true;
}

bool QFMovableTypeScanner::scanMaybeNewLine()
{
    return scanString(kNewLine);
}

bool QFMovableTypeScanner::scanShortMovableTypeSeparator()
{
    if (!scanString(kShortSeparator))
        raise("scanShortMovableTypeSeparator");
    return scanNewLine();
}

std::optional<QString> QFMovableTypeScanner::scanShortMovableTypeFieldHeader()
{
    const QString key = scanKeyCharacters();
    scanString(kFieldHeaderEnd);
    if (key.isEmpty())
        return std::nullopt;
    return key;
}

QString QFMovableTypeScanner::scanShortMovableTypeFieldData()
{
    const QString data = scanUpToString(kNewLine);
    scanNewLine();
    return data;
}

std::optional<QFTuple> QFMovableTypeScanner::scanShortMovableTypeField()
{
    const std::optional<QString> key = scanShortMovableTypeFieldHeader();
    if (!key)
        return std::nullopt;
    const QString value = scanShortMovableTypeFieldData();
    return QFTuple(*key, value);
}

std::optional<QString> QFMovableTypeScanner::scanShortMovableTypeField(QStringView expected)
{
    // The key as read always gets ": " appended, so an expected text without
    // that ending never matches.
    const std::optional<QString> key = scanShortMovableTypeFieldHeader();
    if (!key || QString(*key).append(kFieldHeaderEnd) != expected)
        return std::nullopt;
    return scanShortMovableTypeFieldData();
}

QString QFMovableTypeScanner::readChunk()
{
    const QString chunk = scanUpToString(kSectionEnd);
    scanString(kSectionEndLine);
    scanString(kEntrySeparatorLine);
    return chunk;
}

std::optional<QString> QFMovableTypeScanner::scanLongMovableTypeField(QStringView marker)
{
    if (!scanString(marker))
        return std::nullopt;
    scanNewLine();

    QString result;
    QString chunk = readChunk();
    // A hyphen line longer than the section end is part of the text: the
    // text before and after it is joined without it. A second such line
    // right after the first takes the place of the text before them.
    while (scanString(kNineHyphenLine)) {
        if (scanString(kNineHyphenLine))
            chunk = kNineHyphenLine.toString();
        result += chunk;
        chunk = readChunk();
    }
    result += chunk;

    if (QFWhitespaceChecker::isTotallyWhitespace(result))
        return std::nullopt;
    return result;
}
