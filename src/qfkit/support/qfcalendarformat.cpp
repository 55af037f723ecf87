#include "qfcalendarformat.h"

#include <QStringView>
#include <QTimeZone>

namespace {

QString padded(int value, int width, QChar fill = QLatin1Char('0'))
{
    return QStringLiteral("%1").arg(value, width, 10, fill);
}

QString offsetText(int offsetSeconds)
{
    const QChar sign = offsetSeconds < 0 ? QLatin1Char('-') : QLatin1Char('+');
    const int magnitude = offsetSeconds < 0 ? -offsetSeconds : offsetSeconds;
    return sign + padded(magnitude / 3600, 2) + padded((magnitude % 3600) / 60, 2);
}

// The AM/PM texts a locale writes; the English ones are always understood too,
// since imported files use them whatever the user's locale.
QString meridiemText(const QLocale &locale, bool pm)
{
    const QString text = pm ? locale.pmText() : locale.amText();
    if (!text.isEmpty())
        return text;
    return pm ? QStringLiteral("PM") : QStringLiteral("AM");
}

// Fields read from the text; those the format does not mention keep their
// defaults.
struct Fields
{
    int year = 2000;
    int month = 1;
    int day = 1;
    int dayOfYear = 0;
    bool haveMonthOrDay = false;
    int hour = 0;
    bool hourIs12 = false;
    bool hourIs24 = false;
    int meridiem = -1; // 0 AM, 1 PM
    int minute = 0;
    int second = 0;
    std::optional<int> offsetSeconds;
    QString zoneAbbreviation;
    bool sawConversion = false;
};

class Scanner
{
public:
    explicit Scanner(QStringView text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }

    bool literal(QChar c)
    {
        if (atEnd() || m_text.at(m_pos) != c)
            return false;
        ++m_pos;
        return true;
    }

    // 1..maxDigits ASCII digits, greedily, value in [min, max].
    bool number(int maxDigits, int min, int max, int *out)
    {
        int value = 0;
        int digits = 0;
        while (digits < maxDigits && !atEnd()) {
            const QChar c = m_text.at(m_pos);
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                break;
            value = value * 10 + (c.unicode() - '0');
            ++digits;
            ++m_pos;
        }
        if (digits == 0 || value < min || value > max)
            return false;
        *out = value;
        return true;
    }

    // The longest of the candidates found at the current position, ignoring
    // case; its index in the list.
    bool oneOf(const QStringList &candidates, int *index)
    {
        int best = -1;
        qsizetype bestLength = 0;
        const QStringView rest = m_text.mid(m_pos);
        for (int i = 0; i < candidates.size(); ++i) {
            const QString &c = candidates.at(i);
            if (c.isEmpty() || c.size() <= bestLength || c.size() > rest.size())
                continue;
            if (rest.first(c.size()).compare(c, Qt::CaseInsensitive) == 0) {
                best = i;
                bestLength = c.size();
            }
        }
        if (best < 0)
            return false;
        m_pos += bestLength;
        *index = best;
        return true;
    }

    bool letters(int maxLength, QString *out)
    {
        const qsizetype start = m_pos;
        while (!atEnd() && m_pos - start < maxLength && m_text.at(m_pos).isLetter())
            ++m_pos;
        if (m_pos == start)
            return false;
        *out = m_text.mid(start, m_pos - start).toString();
        return true;
    }

    bool offset(int *seconds)
    {
        if (literal(QLatin1Char('Z')) || literal(QLatin1Char('z'))) {
            *seconds = 0;
            return true;
        }
        int sign = 1;
        if (literal(QLatin1Char('-')))
            sign = -1;
        else if (!literal(QLatin1Char('+')))
            return false;
        // Exactly two digits of hours, then optionally ":" and two of minutes.
        const qsizetype hoursStart = m_pos;
        int hours = 0;
        if (!number(2, 0, 23, &hours) || m_pos - hoursStart != 2)
            return false;
        int minutes = 0;
        const bool colon = literal(QLatin1Char(':'));
        const qsizetype minutesStart = m_pos;
        if (!atEnd() && m_text.at(m_pos).isDigit()) {
            if (!number(2, 0, 59, &minutes) || m_pos - minutesStart != 2)
                return false;
        } else if (colon) {
            return false;
        }
        *seconds = sign * (hours * 3600 + minutes * 60);
        return true;
    }

    void skipOneSpace() { literal(QLatin1Char(' ')); }

private:
    QStringView m_text;
    qsizetype m_pos = 0;
};

QStringList monthNames(const QLocale &locale)
{
    // Index i of the list is month (i % 12) + 1.
    QStringList names;
    for (QLocale::FormatType type : {QLocale::LongFormat, QLocale::ShortFormat}) {
        for (int m = 1; m <= 12; ++m)
            names << locale.monthName(m, type);
        for (int m = 1; m <= 12; ++m)
            names << locale.standaloneMonthName(m, type);
    }
    return names;
}

QStringList dayNames(const QLocale &locale)
{
    QStringList names;
    for (QLocale::FormatType type : {QLocale::LongFormat, QLocale::ShortFormat}) {
        for (int d = 1; d <= 7; ++d)
            names << locale.dayName(d, type);
        for (int d = 1; d <= 7; ++d)
            names << locale.standaloneDayName(d, type);
    }
    return names;
}

// The offset of a zone abbreviation as written by %Z: UTC and the system
// zone's own standard and daylight abbreviations for that year.
std::optional<int> offsetForAbbreviation(const QString &abbreviation, int year)
{
    static const QStringList utcNames = {QStringLiteral("UTC"), QStringLiteral("GMT"),
                                         QStringLiteral("UT"), QStringLiteral("Z")};
    for (const QString &u : utcNames) {
        if (abbreviation.compare(u, Qt::CaseInsensitive) == 0)
            return 0;
    }
    for (int month : {1, 7}) {
        const QDateTime probe(QDate(year, month, 1), QTime(12, 0), Qt::LocalTime);
        if (probe.isValid() && probe.timeZoneAbbreviation().compare(abbreviation, Qt::CaseInsensitive) == 0)
            return probe.offsetFromUtc();
    }
    return std::nullopt;
}

bool scanConversion(Scanner &in, QChar spec, const QLocale &locale, Fields &f)
{
    int v = 0;
    switch (spec.unicode()) {
    case 'a':
    case 'A': {
        static thread_local QLocale cachedLocale;
        static thread_local QStringList cachedNames;
        if (cachedNames.isEmpty() || cachedLocale != locale) {
            cachedLocale = locale;
            cachedNames = dayNames(locale);
        }
        return in.oneOf(cachedNames, &v);
    }
    case 'b':
    case 'B': {
        static thread_local QLocale cachedLocale;
        static thread_local QStringList cachedNames;
        if (cachedNames.isEmpty() || cachedLocale != locale) {
            cachedLocale = locale;
            cachedNames = monthNames(locale);
        }
        if (!in.oneOf(cachedNames, &v))
            return false;
        f.month = v % 12 + 1;
        f.haveMonthOrDay = true;
        return true;
    }
    case 'e':
        in.skipOneSpace();
        [[fallthrough]];
    case 'd':
        f.haveMonthOrDay = true;
        return in.number(2, 1, 31, &f.day);
    case 'H':
        f.hourIs24 = true;
        return in.number(2, 0, 23, &f.hour);
    case 'I':
        f.hourIs12 = true;
        return in.number(2, 1, 12, &f.hour);
    case 'j':
        return in.number(3, 1, 366, &f.dayOfYear);
    case 'm':
        f.haveMonthOrDay = true;
        return in.number(2, 1, 12, &f.month);
    case 'M':
        return in.number(2, 0, 59, &f.minute);
    case 'S':
        return in.number(2, 0, 59, &f.second);
    case 'p': {
        const QStringList texts = {meridiemText(locale, false), meridiemText(locale, true),
                                   QStringLiteral("AM"), QStringLiteral("PM")};
        if (!in.oneOf(texts, &v))
            return false;
        f.meridiem = v % 2;
        return true;
    }
    case 'y':
        if (!in.number(2, 0, 99, &v))
            return false;
        f.year = v < 69 ? 2000 + v : 1900 + v;
        return true;
    case 'Y':
        return in.number(4, 1, 9999, &f.year);
    case 'z': {
        int seconds = 0;
        if (!in.offset(&seconds))
            return false;
        f.offsetSeconds = seconds;
        return true;
    }
    case 'Z':
        return in.letters(6, &f.zoneAbbreviation);
    default:
        return false;
    }
}

bool isConversion(QChar c)
{
    switch (c.unicode()) {
    case 'a': case 'A': case 'b': case 'B': case 'd': case 'e': case 'H': case 'I': case 'j':
    case 'm': case 'M': case 'p': case 'S': case 'y': case 'Y': case 'z': case 'Z':
        return true;
    default:
        return false;
    }
}

std::optional<QDateTime> assemble(const Fields &f)
{
    QDate date;
    if (f.dayOfYear > 0 && !f.haveMonthOrDay) {
        const QDate first(f.year, 1, 1);
        if (!first.isValid() || f.dayOfYear > first.daysInYear())
            return std::nullopt;
        date = first.addDays(f.dayOfYear - 1);
    } else {
        date = QDate(f.year, f.month, f.day);
    }
    if (!date.isValid())
        return std::nullopt;

    int hour = f.hour;
    if (f.meridiem >= 0) {
        if (f.hourIs12) {
            hour = f.hour % 12 + (f.meridiem == 1 ? 12 : 0);
        } else if (f.hourIs24 && (hour >= 12) != (f.meridiem == 1)) {
            return std::nullopt; // "15:00 AM"
        }
    }
    const QTime time(hour, f.minute, f.second);
    if (!time.isValid())
        return std::nullopt;

    std::optional<int> offset = f.offsetSeconds;
    if (!offset && !f.zoneAbbreviation.isEmpty()) {
        offset = offsetForAbbreviation(f.zoneAbbreviation, f.year);
        if (!offset)
            return std::nullopt;
    }

    QDateTime result;
    if (offset)
        result = QDateTime(date, time, QTimeZone(*offset)).toLocalTime();
    else
        result = QDateTime(date, time, Qt::LocalTime);
    if (!result.isValid() && !offset) {
        // A wall-clock time skipped when the clocks went forward (02:30 on the
        // spring change-over): read it with the offset in force just before,
        // which lands as far after the gap as it was into it, like mktime().
        const QDateTime earlier(date.addDays(-1), time, Qt::LocalTime);
        if (earlier.isValid())
            result = QDateTime(date, time, QTimeZone(earlier.offsetFromUtc())).toLocalTime();
    }
    if (!result.isValid())
        return std::nullopt;
    return result;
}

} // namespace

QString QFCalendarFormat::format(const QDateTime &date, const QString &calendarFormat, const QLocale &locale)
{
    if (!date.isValid())
        return QString();
    const QDateTime local = date.toLocalTime();
    const QDate d = local.date();
    const QTime t = local.time();

    QString out;
    out.reserve(calendarFormat.size() + 16);
    for (qsizetype i = 0; i < calendarFormat.size(); ++i) {
        const QChar c = calendarFormat.at(i);
        if (c != QLatin1Char('%') || i + 1 >= calendarFormat.size()) {
            out += c;
            continue;
        }
        const QChar spec = calendarFormat.at(++i);
        switch (spec.unicode()) {
        case 'a': out += locale.dayName(d.dayOfWeek(), QLocale::ShortFormat); break;
        case 'A': out += locale.dayName(d.dayOfWeek(), QLocale::LongFormat); break;
        case 'b': out += locale.monthName(d.month(), QLocale::ShortFormat); break;
        case 'B': out += locale.monthName(d.month(), QLocale::LongFormat); break;
        case 'd': out += padded(d.day(), 2); break;
        case 'e': out += padded(d.day(), 2, QLatin1Char(' ')); break;
        case 'H': out += padded(t.hour(), 2); break;
        case 'I': out += padded(t.hour() % 12 == 0 ? 12 : t.hour() % 12, 2); break;
        case 'j': out += padded(d.dayOfYear(), 3); break;
        case 'm': out += padded(d.month(), 2); break;
        case 'M': out += padded(t.minute(), 2); break;
        case 'p': out += meridiemText(locale, t.hour() >= 12); break;
        case 'S': out += padded(t.second(), 2); break;
        case 'y': out += padded(((d.year() % 100) + 100) % 100, 2); break;
        case 'Y': out += QString::number(d.year()); break;
        case 'z': out += offsetText(local.offsetFromUtc()); break;
        case 'Z': out += local.timeZoneAbbreviation(); break;
        case '%': out += QLatin1Char('%'); break;
        default:
            out += c;
            out += spec;
            break;
        }
    }
    return out;
}

std::optional<QDateTime> QFCalendarFormat::parse(const QString &text, const QString &calendarFormat,
                                                 const QLocale &locale)
{
    Scanner in(text);
    Fields fields;
    for (qsizetype i = 0; i < calendarFormat.size(); ++i) {
        const QChar c = calendarFormat.at(i);
        if (c == QLatin1Char('%') && i + 1 < calendarFormat.size()) {
            const QChar spec = calendarFormat.at(i + 1);
            if (spec == QLatin1Char('%')) {
                ++i;
                if (!in.literal(QLatin1Char('%')))
                    return std::nullopt;
                continue;
            }
            if (isConversion(spec)) {
                ++i;
                fields.sawConversion = true;
                if (!scanConversion(in, spec, locale, fields))
                    return std::nullopt;
                continue;
            }
        }
        if (!in.literal(c))
            return std::nullopt;
    }
    if (!in.atEnd() || !fields.sawConversion)
        return std::nullopt;
    return assemble(fields);
}
