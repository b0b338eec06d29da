#include "AIDate.h"

#include "IsoCalendar.h"

#include <QRegularExpression>

namespace AIDate {

namespace {

// No value, a blank and the word null in any case all mean no date.
std::optional<QString> prelude(const std::optional<QString>& text) {
    if (!text)
        return std::nullopt;
    const QString trimmed = text->trimmed();
    if (trimmed.isEmpty() || trimmed.compare(QLatin1String("null"), Qt::CaseInsensitive) == 0)
        return std::nullopt;
    return trimmed;
}

QDate strictDay(QStringView year, QStringView month, QStringView day) {
    return QDate(year.toInt(), month.toInt(), day.toInt()); // invalid when the day is not real
}

} // namespace

QDateTime parseDay(const std::optional<QString>& text) {
    const std::optional<QString> trimmed = prelude(text);
    if (!trimmed)
        return {};
    // The first ten characters decide, so a date-time in the day field yields its day.
    static const QRegularExpression dayPattern(QStringLiteral("^(\\d{4})-(\\d{2})-(\\d{2})$"));
    const QRegularExpressionMatch match = dayPattern.match(trimmed->left(10));
    const IsoCalendar calendar;
    if (match.hasMatch()) {
        const QDate day =
            strictDay(match.capturedView(1), match.capturedView(2), match.capturedView(3));
        if (day.isValid())
            return calendar.startOfDay(day);
    }
    return calendar.startOfDay(parseDateTime(trimmed));
}

QDateTime parseDateTime(const std::optional<QString>& text) {
    const std::optional<QString> trimmed = prelude(text);
    if (!trimmed)
        return {};
    // The forms the model is known to send: an internet date-time with an offset (seconds
    // required, fractions allowed), or a local one with "T" or a blank, seconds optional.
    static const QRegularExpression pattern(
        QStringLiteral("^(\\d{4})-(\\d{2})-(\\d{2})([T ])(\\d{2}):(\\d{2})"
                       "(?::(\\d{2})(?:\\.(\\d+))?)?(Z|[+-]\\d{2}:\\d{2})?$"));
    const QRegularExpressionMatch match = pattern.match(*trimmed);
    if (!match.hasMatch())
        return {};
    const bool hasSeconds = match.capturedLength(7) > 0;
    const bool hasFraction = match.capturedLength(8) > 0;
    const QString zone = match.captured(9);
    if (!zone.isEmpty() && (match.captured(4) != QLatin1String("T") || !hasSeconds))
        return {};
    if (zone.isEmpty() && hasFraction)
        return {};

    const QDate day =
        strictDay(match.capturedView(1), match.capturedView(2), match.capturedView(3));
    const int milliseconds = match.captured(8).left(3).leftJustified(3, QLatin1Char('0')).toInt();
    const QTime time(match.capturedView(5).toInt(), match.capturedView(6).toInt(),
                     hasSeconds ? match.capturedView(7).toInt() : 0, milliseconds);
    if (!day.isValid() || !time.isValid())
        return {};
    if (zone.isEmpty())
        return QDateTime(day, time, Qt::LocalTime).toUTC();
    int offset = 0;
    if (zone != QLatin1String("Z")) {
        const int hours = zone.mid(1, 2).toInt();
        const int minutes = zone.mid(4, 2).toInt();
        if (hours > 23 || minutes > 59)
            return {};
        offset = (hours * 3600 + minutes * 60) * (zone.startsWith(QLatin1Char('-')) ? -1 : 1);
    }
    return QDateTime(day, time, Qt::OffsetFromUTC, offset).toUTC();
}

bool hasClockTime(const std::optional<QString>& text) {
    const std::optional<QString> trimmed = prelude(text);
    return trimmed && trimmed->size() >= 11 &&
           (trimmed->contains(QLatin1Char('T')) || trimmed->contains(QLatin1Char(' ')));
}

} // namespace AIDate
