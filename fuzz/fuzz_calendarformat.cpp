// Dates typed by users and read from import files: the first line of the input
// is the calendar format, the rest the text to read with it. Whatever parses
// is written back with the same format and read again.
#include "qfkit/support/qfcalendarformat.h"
#include "qfkit/support/qfexception.h"

#include <QLocale>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QLocale locales[] = {QLocale::c(), QLocale(QLocale::German, QLocale::Germany),
                                      QLocale(QLocale::Russian, QLocale::Russia)};
    const QString input = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype newline = input.indexOf(QLatin1Char('\n'));
    const QString format = newline < 0 ? input : input.left(newline);
    const QString text = newline < 0 ? QString() : input.mid(newline + 1);
    const QLocale &locale = locales[size % 3];

    try {
        const std::optional<QDateTime> date = QFCalendarFormat::parse(text, format, locale);
        if (date) {
            if (!date->isValid())
                std::abort();
            const QString written = QFCalendarFormat::format(*date, format, locale);
            QFCalendarFormat::parse(written, format, locale);
        }
        QFCalendarFormat::format(QDateTime(QDate(2008, 1, 31), QTime(15, 4, 5)), format, locale);
    } catch (const QFException &) {
    }
    return 0;
}
