#include "qfcommandarguments.h"

#include "qfkit/support/qfexception.h"

#include <algorithm>

QFCommandArguments::QFCommandArguments(const QStringList &arguments, const QList<Option> &options)
{
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (optionsEnded || !argument.startsWith(QLatin1String("-")) || argument == QLatin1String("-")
            || (argument.size() > 1 && (argument.at(1).isDigit() || argument.at(1) == QLatin1Char('.')))) {
            m_positional.append(argument);
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            m_help = true;
            continue;
        }
        if (!argument.startsWith(QLatin1String("--")))
            usageError(QStringLiteral("unknown option '%1'").arg(argument));

        QString name = argument.mid(2);
        QString inlineValue;
        bool hasInlineValue = false;
        if (const qsizetype equals = name.indexOf(QLatin1Char('=')); equals >= 0) {
            inlineValue = name.mid(equals + 1);
            name.truncate(equals);
            hasInlineValue = true;
        }
        const auto option = std::find_if(options.cbegin(), options.cend(),
                                         [&name](const Option &o) { return o.name == name; });
        if (option == options.cend())
            usageError(QStringLiteral("unknown option '--%1'").arg(name));
        if (!option->takesValue && hasInlineValue)
            usageError(QStringLiteral("the option '--%1' takes no value").arg(name));

        QString value;
        if (option->takesValue) {
            if (hasInlineValue) {
                value = inlineValue;
            } else {
                if (i + 1 >= arguments.size())
                    usageError(QStringLiteral("the option '--%1' needs a value").arg(name));
                value = arguments.at(++i);
            }
        }
        m_values[name].append(value);
        m_order.append(name);
    }
}

bool QFCommandArguments::helpRequested() const
{
    return m_help;
}

bool QFCommandArguments::isSet(const QString &name) const
{
    return m_values.contains(name);
}

QString QFCommandArguments::value(const QString &name) const
{
    const QStringList values = m_values.value(name);
    return values.isEmpty() ? QString() : values.constLast();
}

QStringList QFCommandArguments::values(const QString &name) const
{
    return m_values.value(name);
}

QStringList QFCommandArguments::optionNamesInOrder() const
{
    return m_order;
}

const QStringList &QFCommandArguments::positional() const
{
    return m_positional;
}

void QFCommandArguments::requirePositional(qsizetype min, qsizetype max) const
{
    if (m_positional.size() < min)
        usageError(QStringLiteral("missing arguments"));
    if (max >= 0 && m_positional.size() > max)
        usageError(QStringLiteral("unexpected argument '%1'").arg(m_positional.at(max)));
}

QString QFCommandArguments::usageErrorName()
{
    return QStringLiteral("Usage Error");
}

void QFCommandArguments::usageError(const QString &reason)
{
    throw QFException(usageErrorName(), reason);
}
