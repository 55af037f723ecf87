#include "qfexception.h"

QFException::QFException(QString name, QString reason)
    : m_name(std::move(name))
    , m_reason(std::move(reason))
    , m_what((m_name + QStringLiteral(": ") + m_reason).toUtf8())
{
}

const char *QFException::what() const noexcept
{
    return m_what.constData();
}

QFAssertionFailure::QFAssertionFailure(QString sourceFile, QString text)
    : m_sourceFile(std::move(sourceFile))
    , m_text(std::move(text))
    , m_what((m_text + QStringLiteral(" (") + m_sourceFile + QStringLiteral(")")).toUtf8())
{
}

const char *QFAssertionFailure::what() const noexcept
{
    return m_what.constData();
}
