#include "qfplistxmlcheck.h"

#include "qfplistpath.h"

#include <QDateTime>
#include <QList>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace {

enum class Kind { Plist, Array, Dict };

struct Frame
{
    Kind kind;
    QString path;
    qsizetype count = 0;
    bool awaitingValue = false; // a dict has read a key and waits for its value
    QString key;
};

QString childPath(const Frame &parent)
{
    switch (parent.kind) {
    case Kind::Dict:
        return QFPlistPath::dictChild(parent.path, parent.key);
    case Kind::Array:
        return QFPlistPath::arrayChild(parent.path, parent.count);
    case Kind::Plist:
        break;
    }
    return QString();
}

void valueDone(Frame &frame)
{
    ++frame.count;
    frame.awaitingValue = false;
}

bool isScalarElement(QStringView name)
{
    static const QStringList names{QStringLiteral("string"), QStringLiteral("integer"),
                                   QStringLiteral("real"),   QStringLiteral("true"),
                                   QStringLiteral("false"),  QStringLiteral("date"),
                                   QStringLiteral("data")};
    return names.contains(name);
}

QString integerProblem(const QString &text)
{
    static const QRegularExpression decimal(QStringLiteral("^[+-]?[0-9]+$"));
    static const QRegularExpression hex(QStringLiteral("^0[xX][0-9a-fA-F]+$"));
    bool ok = false;
    if (hex.match(text).hasMatch()) {
        (void)text.mid(2).toULongLong(&ok, 16);
    } else if (decimal.match(text).hasMatch()) {
        if (text.startsWith(QLatin1Char('-')))
            (void)text.toLongLong(&ok);
        else
            (void)QStringView(text).mid(text.startsWith(QLatin1Char('+')) ? 1 : 0).toULongLong(&ok);
    } else {
        return QStringLiteral("integer \"%1\" is not a number").arg(text.left(40));
    }
    return ok ? QString() : QStringLiteral("integer %1 is out of range").arg(text.left(40));
}

QString realProblem(const QString &text)
{
    static const QRegularExpression special(QStringLiteral("^[+-]?(nan|inf|infinity)$"),
                                            QRegularExpression::CaseInsensitiveOption);
    if (special.match(text).hasMatch())
        return QString();
    bool ok = false;
    (void)text.toDouble(&ok);
    return ok ? QString() : QStringLiteral("real \"%1\" is not a number").arg(text.left(40));
}

QString dateProblem(const QString &text)
{
    static const QRegularExpression iso(
        QStringLiteral("^(\\d{4})-(\\d{2})-(\\d{2})T(\\d{2}):(\\d{2}):(\\d{2})(\\.\\d+)?Z?$"));
    const QRegularExpressionMatch m = iso.match(text);
    const QString bad = QStringLiteral("date \"%1\" is not of the form 2001-12-31T23:59:59Z")
                            .arg(text.left(40));
    if (!m.hasMatch())
        return bad;
    const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt());
    if (!date.isValid() || !time.isValid())
        return bad;
    return QString();
}

QString dataProblem(const QString &text)
{
    QByteArray compact;
    compact.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')
            || c == QLatin1Char('\r'))
            continue;
        if (c.unicode() > 0x7f)
            return QStringLiteral("data is not valid base64");
        compact.append(char(c.unicode()));
    }
    if (!QByteArray::fromBase64Encoding(compact, QByteArray::AbortOnBase64DecodingErrors))
        return QStringLiteral("data is not valid base64");
    return QString();
}

QString scalarProblem(QStringView name, const QString &text)
{
    const QString trimmed = text.trimmed();
    if (name == u"integer")
        return integerProblem(trimmed);
    if (name == u"real")
        return realProblem(trimmed);
    if (name == u"date")
        return dateProblem(trimmed);
    if (name == u"data")
        return dataProblem(text);
    if ((name == u"true" || name == u"false") && !trimmed.isEmpty())
        return QStringLiteral("<%1/> has content").arg(name);
    return QString();
}

} // namespace

namespace QFPlistXMLCheck {

QString problem(const QByteArray &xml, int maxDepth)
{
    // libplist reads the bytes as UTF-8 whatever the document declares, so
    // any other encoding would come out garbled.
    if (xml.startsWith("\xFF\xFE") || xml.startsWith("\xFE\xFF"))
        return QStringLiteral("the property list is in UTF-16; only UTF-8 is supported");
    QXmlStreamReader reader(xml);
    QList<Frame> stack;
    bool sawRoot = false;
    const auto fail = [&reader](const QString &why) {
        return QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(why);
    };

    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartDocument: {
            const QString encoding = reader.documentEncoding().toString();
            if (!encoding.isEmpty() && encoding.compare(u"UTF-8", Qt::CaseInsensitive) != 0
                && encoding.compare(u"UTF8", Qt::CaseInsensitive) != 0)
                return fail(QStringLiteral("the property list is in %1; only UTF-8 is supported").arg(encoding));
            break;
        }
        case QXmlStreamReader::DTD:
            // Refusing declared entities up front also keeps "billion laughs"
            // documents from being expanded at all.
            if (!reader.entityDeclarations().isEmpty())
                return fail(QStringLiteral("the document declares its own entities"));
            break;
        case QXmlStreamReader::EntityReference:
            return fail(QStringLiteral("unresolved entity &%1;").arg(reader.name()));
        case QXmlStreamReader::Characters:
            if (!stack.isEmpty() && !reader.isWhitespace())
                return fail(QStringLiteral("unexpected text \"%1\"")
                                .arg(reader.text().toString().trimmed().left(40)));
            break;
        case QXmlStreamReader::StartElement: {
            const QString name = reader.name().toString();
            if (stack.isEmpty()) {
                if (name != u"plist")
                    return fail(QStringLiteral("this is an XML document of type <%1>, not a property list")
                                    .arg(name));
                sawRoot = true;
                stack.append(Frame{Kind::Plist, QString(), 0, false, QString()});
                break;
            }
            Frame &parent = stack.last();
            if (parent.kind == Kind::Plist && parent.count > 0)
                return fail(QStringLiteral("more than one top-level value"));
            if (parent.kind == Kind::Dict && !parent.awaitingValue) {
                if (name != u"key")
                    return fail(QStringLiteral("<%1> where a key was expected in %2")
                                    .arg(name, QFPlistPath::describe(parent.path)));
                parent.key = reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
                parent.awaitingValue = true;
                break;
            }
            const QString path = childPath(parent);
            if (name == u"dict" || name == u"array") {
                // The plist frame is on the stack too, so its size is the new level.
                if (stack.size() > maxDepth)
                    return fail(QStringLiteral("nested deeper than %1 levels at %2")
                                    .arg(maxDepth)
                                    .arg(QFPlistPath::describe(path)));
                stack.append(Frame{name == u"dict" ? Kind::Dict : Kind::Array, path, 0, false, QString()});
                break;
            }
            if (name == u"key")
                return fail(QStringLiteral("a key outside a dictionary at %1")
                                .arg(QFPlistPath::describe(path)));
            if (!isScalarElement(name))
                return fail(QStringLiteral("unknown element <%1> at %2")
                                .arg(name, QFPlistPath::describe(path)));
            const QString text = reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
            if (reader.hasError())
                break;
            const QString why = scalarProblem(name, text);
            if (!why.isEmpty())
                return fail(QStringLiteral("%1 at %2").arg(why, QFPlistPath::describe(path)));
            valueDone(parent);
            break;
        }
        case QXmlStreamReader::EndElement: {
            const Frame done = stack.takeLast();
            if (done.kind == Kind::Dict && done.awaitingValue)
                return fail(QStringLiteral("key \"%1\" in %2 has no value")
                                .arg(done.key, QFPlistPath::describe(done.path)));
            if (done.kind == Kind::Plist && done.count == 0)
                return fail(QStringLiteral("the property list holds no value"));
            if (!stack.isEmpty())
                valueDone(stack.last());
            break;
        }
        default:
            break;
        }
    }
    if (reader.hasError())
        return QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString());
    if (!sawRoot)
        return QStringLiteral("no XML element found");
    return QString();
}

} // namespace QFPlistXMLCheck
