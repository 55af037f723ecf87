#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <optional>

// Calendar dates to and from text with "%" conversion specifiers, as used for
// post dates, archive titles, feed dates and imported dates.
//
// Specifiers (the strftime meanings):
//   %a %A  short / full weekday name      %b %B  short / full month name
//   %d     day of month, 01-31            %e     day of month, space-padded " 1"-"31"
//   %H     hour, 00-23                    %I     hour, 01-12
//   %j     day of year, 001-366           %m     month, 01-12
//   %M     minute, 00-59                  %S     second, 00-59
//   %p     AM or PM                       %y     year without century, 00-99
//   %Y     year with century              %z     numeric offset from UTC, "+0100"
//   %Z     time zone abbreviation, "CET"  %%     a "%"
// Anything else, an unknown specifier included, is literal text. Names and the
// AM/PM texts come from the locale, in their format (not standalone) forms;
// the C locale gives English. Digits are always ASCII.
//
// Dates are QDateTime in the system time zone (Qt::LocalTime), whole seconds.
class QFCalendarFormat final
{
public:
    QFCalendarFormat() = delete;

    // The date, converted to the system time zone, written in the format.
    // An empty string for an invalid date.
    static QString format(const QDateTime &date, const QString &calendarFormat,
                          const QLocale &locale = QLocale::c());

    // Reads a date written in the format. Strict: the whole text must match,
    // literal characters exactly, names and AM/PM ignoring case (full or short
    // names are both accepted for %a/%A/%b/%B). Numbers take at most the digits
    // their field has (4 for %Y, 3 for %j, 2 for the others) and must be in
    // range. %I needs a %p to tell morning from afternoon; without one it is
    // read as the hour itself (12 is noon). The weekday is read but not
    // checked against the date.
    //
    // Fields the format does not mention default to 1 January 2000, 00:00:00
    // (a leap year, so "29 February" without a year is a date). With %z (or a
    // %Z of UTC/GMT or of the system zone) the text is taken at that offset and
    // the result converted to the system time zone; otherwise it is local time.
    // A local time skipped when the clocks go forward (02:30 on the spring
    // change-over) is read as if the change had not happened yet (03:30).
    //
    // nullopt when the text does not match, names an impossible date (31
    // February), or the format holds no conversion at all.
    static std::optional<QDateTime> parse(const QString &text, const QString &calendarFormat,
                                          const QLocale &locale = QLocale::c());
};
