#include "qfstyledtext.h"

#include "qfkit/coding/qfarchiver.h"
#include "qfkit/coding/qfclassregistry.h"
#include "qfkit/coding/qfkeyedarchiver.h"
#include "qfkit/coding/qfkeyedunarchiver.h"
#include "qfkit/coding/qfunarchiver.h"
#include "qfkit/support/qfexception.h"
#include "qfkit/text/qfimageformat.h"

#include <QBuffer>
#include <QImage>
#include <algorithm>

namespace {
const QString kClassName = QStringLiteral("QFStyledText");
const QString kStringKey = QStringLiteral("string");
const QString kRunsKey = QStringLiteral("runs");
const QString kMalformed = QStringLiteral("Malformed Archive");

bool isIntegerVariant(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

[[noreturn]] void malformed(const QString &reason)
{
    throw QFException(kMalformed, reason);
}

QString replacedSuffix(const QString &fileName, const QString &suffix)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    const qsizetype slash = fileName.lastIndexOf(u'/');
    const QString base = dot > 0 && dot > slash + 1 ? fileName.left(dot) : fileName;
    return base + u'.' + suffix;
}
} // namespace

// The end of [start, start + length) clipped to the text.
qsizetype QFStyledText::clippedEnd(qsizetype start, qsizetype length) const
{
    if (length <= 0)
        return std::clamp<qsizetype>(start, 0, m_text.size());
    const qsizetype end = start > m_text.size() - length ? m_text.size() : start + length;
    return std::clamp<qsizetype>(end, 0, m_text.size());
}

QFStyledText::QFStyledText(const QString &text, const QVariantMap &attributes)
    : m_text(text)
{
    if (!m_text.isEmpty())
        m_runs.append({0, m_text.size(), attributes});
}

qsizetype QFStyledText::runIndexAt(qsizetype index) const
{
    auto it = std::upper_bound(m_runs.cbegin(), m_runs.cend(), index,
                               [](qsizetype i, const QFStyledTextRun &run) { return i < run.start; });
    return (it - m_runs.cbegin()) - 1;
}

// Makes index the start of a run; returns that run's index (the run count
// when index is the end of the text).
qsizetype QFStyledText::splitAt(qsizetype index)
{
    if (index >= m_text.size())
        return m_runs.size();
    const qsizetype i = runIndexAt(index);
    QFStyledTextRun &run = m_runs[i];
    if (run.start == index)
        return i;
    QFStyledTextRun tail{index, run.end() - index, run.attributes};
    run.length = index - run.start;
    m_runs.insert(i + 1, tail);
    return i + 1;
}

void QFStyledText::mergeAround(qsizetype firstRun, qsizetype lastRun)
{
    const qsizetype first = std::max<qsizetype>(firstRun, 0);
    for (qsizetype i = std::min(lastRun, m_runs.size() - 1); i > first; --i) {
        if (m_runs.at(i).attributes == m_runs.at(i - 1).attributes) {
            m_runs[i - 1].length += m_runs.at(i).length;
            m_runs.removeAt(i);
        }
    }
}

template<typename Edit>
void QFStyledText::editRange(qsizetype start, qsizetype length, Edit edit)
{
    const qsizetype end = clippedEnd(start, length);
    start = std::clamp<qsizetype>(start, 0, m_text.size());
    if (end <= start)
        return;
    const qsizetype a = splitAt(start);
    const qsizetype b = splitAt(end);
    for (qsizetype i = a; i < b; ++i)
        edit(m_runs[i].attributes);
    mergeAround(a - 1, b);
}

QVariantMap QFStyledText::attributesAt(qsizetype index, QFTextRange *effectiveRange) const
{
    if (index < 0 || index >= m_text.size()) {
        if (effectiveRange)
            *effectiveRange = QFTextRange();
        return QVariantMap();
    }
    const QFStyledTextRun &run = m_runs.at(runIndexAt(index));
    if (effectiveRange)
        *effectiveRange = {run.start, run.length};
    return run.attributes;
}

QVariant QFStyledText::attribute(const QString &key, qsizetype index, QFTextRange *effectiveRange) const
{
    return attributesAt(index, effectiveRange).value(key);
}

void QFStyledText::setAttributes(const QVariantMap &attributes, qsizetype start, qsizetype length)
{
    editRange(start, length, [&](QVariantMap &m) { m = attributes; });
}

void QFStyledText::addAttribute(const QString &key, const QVariant &value, qsizetype start, qsizetype length)
{
    editRange(start, length, [&](QVariantMap &m) { m.insert(key, value); });
}

void QFStyledText::addAttributes(const QVariantMap &attributes, qsizetype start, qsizetype length)
{
    editRange(start, length, [&](QVariantMap &m) { m.insert(attributes); });
}

void QFStyledText::removeAttribute(const QString &key, qsizetype start, qsizetype length)
{
    editRange(start, length, [&](QVariantMap &m) { m.remove(key); });
}

QFStyledText &QFStyledText::append(const QFStyledText &other)
{
    return insert(m_text.size(), other);
}

QFStyledText &QFStyledText::append(const QString &text, const QVariantMap &attributes)
{
    return insert(m_text.size(), QFStyledText(text, attributes));
}

QFStyledText &QFStyledText::insert(qsizetype index, const QFStyledText &other)
{
    if (other.isEmpty())
        return *this;
    index = std::clamp<qsizetype>(index, 0, m_text.size());
    const qsizetype k = splitAt(index);
    const qsizetype added = other.length();
    m_text.insert(index, other.m_text);
    for (qsizetype i = k; i < m_runs.size(); ++i)
        m_runs[i].start += added;
    QList<QFStyledTextRun> inserted = other.m_runs;
    for (QFStyledTextRun &run : inserted)
        run.start += index;
    m_runs.insert(k, inserted.size(), QFStyledTextRun());
    std::copy(inserted.cbegin(), inserted.cend(), m_runs.begin() + k);
    mergeAround(k - 1, k + inserted.size());
    return *this;
}

QFStyledText &QFStyledText::remove(qsizetype start, qsizetype length)
{
    const qsizetype end = clippedEnd(start, length);
    start = std::clamp<qsizetype>(start, 0, m_text.size());
    if (end <= start)
        return *this;
    const qsizetype a = splitAt(start);
    const qsizetype b = splitAt(end);
    m_runs.remove(a, b - a);
    m_text.remove(start, end - start);
    for (qsizetype i = a; i < m_runs.size(); ++i)
        m_runs[i].start -= end - start;
    mergeAround(a - 1, a);
    return *this;
}

QFStyledText &QFStyledText::replace(qsizetype start, qsizetype length, const QFStyledText &replacement)
{
    const qsizetype end = clippedEnd(start, length);
    start = std::clamp<qsizetype>(start, 0, m_text.size());
    remove(start, end - start);
    return insert(start, replacement);
}

QFStyledText QFStyledText::mid(qsizetype start, qsizetype length) const
{
    const qsizetype end = length < 0 ? m_text.size() : clippedEnd(start, length);
    start = std::clamp<qsizetype>(start, 0, m_text.size());
    QFStyledText result;
    if (end <= start)
        return result;
    result.m_text = m_text.mid(start, end - start);
    for (qsizetype i = runIndexAt(start); i < m_runs.size() && m_runs.at(i).start < end; ++i) {
        const QFStyledTextRun &run = m_runs.at(i);
        const qsizetype s = std::max(run.start, start);
        const qsizetype e = std::min(run.end(), end);
        result.m_runs.append({s - start, e - s, run.attributes});
    }
    return result;
}

void QFStyledText::insertAttachment(qsizetype index, const QByteArray &imageData, const QString &fileName)
{
    QVariantMap attachment;
    attachment.insert(kQFAttachmentDataKey, imageData);
    attachment.insert(kQFAttachmentFileNameKey, fileName);
    QVariantMap attributes;
    attributes.insert(kQFAttachmentAttributeName, attachment);
    insert(index, QFStyledText(QString(QChar(kQFAttachmentCharacter)), attributes));
}

QList<QFStyledTextAttachment> QFStyledText::attachments() const
{
    QList<QFStyledTextAttachment> result;
    for (const QFStyledTextRun &run : m_runs) {
        const QVariant value = run.attributes.value(kQFAttachmentAttributeName);
        if (value.typeId() != QMetaType::QVariantMap)
            continue;
        const QVariantMap map = value.toMap();
        for (qsizetype i = run.start; i < run.end(); ++i) {
            if (m_text.at(i) == kQFAttachmentCharacter)
                result.append({i, map.value(kQFAttachmentDataKey).toByteArray(),
                               map.value(kQFAttachmentFileNameKey).toString()});
        }
    }
    return result;
}

qsizetype QFStyledText::attachmentCount() const
{
    return attachments().size();
}

bool QFStyledText::hasAttachments() const
{
    for (const QFStyledTextRun &run : m_runs) {
        if (run.attributes.value(kQFAttachmentAttributeName).typeId() == QMetaType::QVariantMap
            && m_text.mid(run.start, run.length).contains(kQFAttachmentCharacter))
            return true;
    }
    return false;
}

unsigned QFStyledText::normaliseImageAttachments()
{
    unsigned changed = 0;
    int ordinal = 0;
    for (const QFStyledTextAttachment &attachment : attachments()) {
        ++ordinal;
        QByteArray data = attachment.data;
        QString fileName = attachment.fileName;
        const QString webSuffix = QFImageFormat::webImageSuffix(data);
        if (webSuffix.isEmpty()) {
            QImage image;
            if (!image.loadFromData(data))
                continue;
            QBuffer buffer(&data);
            data.clear();
            buffer.open(QIODevice::WriteOnly);
            if (!image.save(&buffer, "PNG"))
                continue;
            fileName = fileName.isEmpty() ? QStringLiteral("image-%1.png").arg(ordinal)
                                          : replacedSuffix(fileName, QStringLiteral("png"));
        } else if (fileName.isEmpty()) {
            fileName = QStringLiteral("image-%1.%2").arg(ordinal).arg(webSuffix);
        } else {
            continue;
        }
        QVariantMap map = attribute(kQFAttachmentAttributeName, attachment.index).toMap();
        map.insert(kQFAttachmentDataKey, data);
        map.insert(kQFAttachmentFileNameKey, fileName);
        addAttribute(kQFAttachmentAttributeName, map, attachment.index, 1);
        ++changed;
    }
    return changed;
}

QString QFStyledText::codingClassName() const
{
    return kClassName;
}

QVariant QFStyledText::runsForArchive() const
{
    if (m_runs.size() == 1 && m_runs.constFirst().attributes.isEmpty())
        return QVariant();
    QVariantList runs;
    runs.reserve(m_runs.size());
    for (const QFStyledTextRun &run : m_runs)
        runs.append(QVariant(QVariantList{QVariant(qint64(run.length)), QVariant(run.attributes)}));
    return runs;
}

void QFStyledText::encodeWithKeyedCoder(QFKeyedArchiver &coder) const
{
    coder.encodeObject(m_text, kStringKey);
    const QVariant runs = runsForArchive();
    if (!runs.isNull())
        coder.encodeObject(runs, kRunsKey);
}

void QFStyledText::encodeWithCoder(QFArchiver &coder) const
{
    coder.encodeObject(m_text);
    coder.encodeObject(runsForArchive());
}

QFCodingPtr QFStyledText::decodeWithKeyedCoder(QFKeyedUnarchiver &coder)
{
    return fromArchivedValues(coder.decodeObject(kStringKey), coder.decodeObject(kRunsKey));
}

QFCodingPtr QFStyledText::decodeWithCoder(QFUnarchiver &coder)
{
    const QVariant string = coder.decodeObject();
    return fromArchivedValues(string, coder.decodeObject());
}

QFCodingPtr QFStyledText::fromArchivedValues(const QVariant &string, const QVariant &runs)
{
    QString text;
    if (string.typeId() == QMetaType::QString)
        text = string.toString();
    else if (string.isValid() && !string.isNull())
        malformed(QStringLiteral("The text of a styled text is not a string"));

    if (!runs.isValid() || runs.isNull())
        return std::make_shared<QFStyledText>(text);
    if (runs.typeId() != QMetaType::QVariantList)
        malformed(QStringLiteral("The runs of a styled text are not a list"));

    auto result = std::make_shared<QFStyledText>();
    result->m_text = text;
    QList<QFStyledTextRun> &built = result->m_runs;
    const QVariantList list = runs.toList();
    built.reserve(list.size());
    qsizetype position = 0;
    for (const QVariant &entry : list) {
        if (entry.typeId() != QMetaType::QVariantList)
            malformed(QStringLiteral("A run of a styled text is not a list"));
        const QVariantList pair = entry.toList();
        if (pair.size() != 2 || !isIntegerVariant(pair.at(0)) || pair.at(1).typeId() != QMetaType::QVariantMap)
            malformed(QStringLiteral("A run of a styled text is not a length and attributes"));
        const qint64 length = pair.at(0).toLongLong();
        if (length <= 0 || length > text.size() - position)
            malformed(QStringLiteral("A run of a styled text does not fit its text"));
        // Equal neighbours (which a foreign writer may leave apart) are merged.
        QVariantMap attributes = pair.at(1).toMap();
        if (!built.isEmpty() && built.constLast().attributes == attributes)
            built.last().length += length;
        else
            built.append({position, length, std::move(attributes)});
        position += length;
    }
    if (position != text.size())
        malformed(QStringLiteral("The runs of a styled text do not cover its text"));
    return result;
}

void QFStyledText::registerCodingClass()
{
    static const bool registered = [] {
        QFClassRegistry::instance().registerKeyed(kClassName, &QFStyledText::decodeWithKeyedCoder);
        QFClassRegistry::instance().registerSequential(kClassName, &QFStyledText::decodeWithCoder);
        return true;
    }();
    Q_UNUSED(registered);
}

QByteArray QFStyledText::toKeyedArchive() const
{
    registerCodingClass();
    return QFKeyedArchiver::archivedDataWithRootObject(static_cast<const QFCoding &>(*this));
}

QFStyledText QFStyledText::fromKeyedArchive(const QByteArray &data)
{
    registerCodingClass();
    QVariant root;
    try {
        root = QFKeyedUnarchiver::unarchiveObjectWithData(data);
    } catch (const QFException &e) {
        if (e.name() == kMalformed)
            throw;
        throw QFException(kMalformed, e.reason());
    }
    const auto text = QFCodingSupport::objectOfClass<QFStyledText>(root);
    if (!text)
        malformed(QStringLiteral("The archive does not hold a styled text"));
    return *text;
}
