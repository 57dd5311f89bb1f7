// Calendar arithmetic and the texts of dates and durations: times in milliseconds since 1970, zones by their names. The
// calendar is the Gregorian one for all years.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

struct CalendarDate {
    int32_t year = 1970;
    int32_t month = 1; // from 1
    int32_t day = 1;
    int32_t hour = 0;
    int32_t minute = 0;
    double second = 0;
    int32_t weekday = 1;       // from 1, Monday
    int32_t offsetMinutes = 0; // of local time, ahead of UTC
};

struct ZonedTime {
    double milliseconds = 0;
    std::string zone = "UTC";
};

// A length of time in parts that are not of the same length everywhere.
struct TimeSpan {
    int32_t months = 0;
    int32_t days = 0;
    double seconds = 0;
};

// "UTC", "Europe/Berlin", "+02:00"; "" and "Z" are UTC.
bool IsZone(std::string_view zone);

CalendarDate ToCalendar(const ZonedTime& time);
// Nothing when there is no such day or time.
std::optional<ZonedTime> FromCalendar(const CalendarDate& date, std::string_view zone);
ZonedTime AddSpan(const ZonedTime& time, const TimeSpan& span, int32_t sign);

// "2024-02-29T12:00:00.5+01:00" (RFC 3339), also without zone or time; or "Thu, 29 Feb 2024 12:00:00 +0100" (RFC 822).
std::optional<ZonedTime> ParseDate(std::string_view text, std::string_view zone);
// By a pattern of ICU, such as "dd.MM.yyyy". The whole text must fit.
std::optional<ZonedTime> ParseDate(std::string_view text, std::string_view pattern, std::string_view zone);
std::string DateText(const ZonedTime& time);
// Nothing when the pattern is malformed.
std::optional<std::string> FormatDate(const ZonedTime& time, std::string_view pattern);

// "P1Y2M3DT4H5M6.7S", also with a minus before it.
std::optional<TimeSpan> ParseSpan(std::string_view text);
std::string SpanText(const TimeSpan& span);

} // namespace host
