// Calendar arithmetic by ICU, and the texts of dates and durations.
#include "host/framework/date_time_text.h"

#include "host/framework/utf16.h"
#include "host/runtime/number_text.h"

#include <unicode/ucal.h>
#include <unicode/udat.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>

namespace host {

namespace {

constexpr double SECOND = 1000;
constexpr int32_t MINUTE = 60000;

struct CloseCalendar {
    void operator()(UCalendar* calendar) const { ucal_close(calendar); }
};
struct CloseFormat {
    void operator()(UDateFormat* format) const { udat_close(format); }
};
using Calendar = std::unique_ptr<UCalendar, CloseCalendar>;
using DateFormat = std::unique_ptr<UDateFormat, CloseFormat>;

// As ICU names it: "+02:00" is "GMT+02:00".
std::u16string IcuZone(std::string_view zone) {
    if (zone.empty() || zone == "Z") return u"UTC";
    bool isOffset = zone[0] == '+' || zone[0] == '-';
    return (isOffset ? u"GMT" : u"") + ToUtf16(zone);
}

std::string ZoneName(std::string_view icu) {
    if (icu.empty() || icu == "GMT" || icu == "UTC" || icu == "Etc/GMT" || icu == "Etc/UTC") return "UTC";
    if (!icu.starts_with("GMT")) return std::string(icu);
    // GMT+02, GMT+0200 and GMT+02:00 are all understood.
    std::string offset(icu.substr(3));
    if (offset.size() == 3) offset += ":00";
    if (offset.size() == 5) offset.insert(3, ":");
    return offset;
}

Calendar OpenCalendar(std::string_view zone) {
    std::u16string name = IcuZone(zone);
    UErrorCode status = U_ZERO_ERROR;
    Calendar calendar(
        ucal_open(name.data(), static_cast<int32_t>(name.size()), "en_US_POSIX", UCAL_GREGORIAN, &status));
    ucal_setGregorianChange(calendar.get(), -std::numeric_limits<double>::max(), &status);
    return calendar;
}

Calendar CalendarAt(const ZonedTime& time) {
    Calendar calendar = OpenCalendar(time.zone);
    UErrorCode status = U_ZERO_ERROR;
    ucal_setMillis(calendar.get(), time.milliseconds, &status);
    return calendar;
}

// A pattern's format in a zone; null when it is malformed.
DateFormat OpenFormat(std::string_view pattern, std::string_view zone) {
    std::u16string name = IcuZone(zone);
    std::u16string icuPattern = ToUtf16(pattern);
    UErrorCode status = U_ZERO_ERROR;
    DateFormat format(udat_open(UDAT_PATTERN, UDAT_PATTERN, "en_US_POSIX", name.data(),
                                static_cast<int32_t>(name.size()), icuPattern.data(),
                                static_cast<int32_t>(icuPattern.size()), &status));
    if (U_FAILURE(status)) return nullptr;
    Calendar calendar = OpenCalendar(zone);
    udat_setCalendar(format.get(), calendar.get());
    udat_setLenient(format.get(), 0);
    return format;
}

// Reads over a text of fixed parts.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool AtEnd() const { return rest_.empty(); }
    char Peek() const { return rest_.empty() ? '\0' : rest_[0]; }
    bool Accept(char c) {
        if (Peek() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }
    // A number of exactly, or of at least one and at most so many digits.
    bool Digits(size_t count, int32_t& value, bool isExact = true) {
        size_t length = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
        if (length == 0 || length > count || (isExact && length != count)) return false;
        std::from_chars(rest_.data(), rest_.data() + length, value);
        rest_.remove_prefix(length);
        return true;
    }
    // A fraction behind its point.
    bool Fraction(double& value) {
        double scale = 1;
        for (value = 0; Peek() >= '0' && Peek() <= '9'; rest_.remove_prefix(1)) value += (Peek() - '0') * (scale /= 10);
        return scale < 1;
    }

private:
    std::string_view rest_;
};

bool ScanTime(Scanner& scanner, CalendarDate& date) {
    int32_t second = 0;
    double fraction = 0;
    bool isTime = scanner.Digits(2, date.hour) && scanner.Accept(':') && scanner.Digits(2, date.minute)
                  && scanner.Accept(':') && scanner.Digits(2, second);
    if (!isTime || (scanner.Accept('.') && !scanner.Fraction(fraction))) return false;
    date.second = second + std::floor(fraction * SECOND) / SECOND;
    return true;
}

bool ScanZone(Scanner& scanner, std::string& zone) {
    if (scanner.AtEnd()) return true;
    if (scanner.Accept('Z') || scanner.Accept('z')) {
        zone = "UTC";
        return true;
    }
    char sign = scanner.Peek();
    int32_t hours = 0;
    int32_t minutes = 0;
    bool isOffset = (scanner.Accept('+') || scanner.Accept('-')) && scanner.Digits(2, hours) && scanner.Accept(':')
                    && scanner.Digits(2, minutes) && hours < 24 && minutes < 60;
    auto two = [](int32_t value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    if (isOffset) zone = hours + minutes == 0 ? "UTC" : sign + two(hours) + ":" + two(minutes);
    return isOffset;
}

std::optional<ZonedTime> ParseRfc3339(std::string_view text, std::string zone) {
    Scanner scanner(text);
    CalendarDate date;
    bool isDate = scanner.Digits(4, date.year) && scanner.Accept('-') && scanner.Digits(2, date.month)
                  && scanner.Accept('-') && scanner.Digits(2, date.day);
    if (!isDate) return std::nullopt;
    bool hasTime = scanner.Accept('T') || scanner.Accept('t') || scanner.Accept(' ');
    if (hasTime && !ScanTime(scanner, date)) return std::nullopt;
    if (!ScanZone(scanner, zone) || !scanner.AtEnd()) return std::nullopt;
    return FromCalendar(date, zone);
}

void Pad(std::string& text, int32_t value, size_t width) {
    std::string digits = std::to_string(std::abs(value));
    if (value < 0) text += '-';
    text.append(width > digits.size() ? width - digits.size() : 0, '0').append(digits);
}

// A part of a duration with its letter; nothing of what is zero.
void AddPart(std::string& text, int64_t value, char letter) {
    if (value != 0) text += std::to_string(value) + letter;
}

} // namespace

bool IsZone(std::string_view zone) {
    std::u16string name = IcuZone(zone);
    char16_t canonical[128];
    UErrorCode status = U_ZERO_ERROR;
    ucal_getCanonicalTimeZoneID(name.data(), static_cast<int32_t>(name.size()), canonical, 128, nullptr, &status);
    return U_SUCCESS(status) != 0;
}

CalendarDate ToCalendar(const ZonedTime& time) {
    Calendar calendar = CalendarAt(time);
    UErrorCode status = U_ZERO_ERROR;
    auto field = [&](UCalendarDateFields name) { return ucal_get(calendar.get(), name, &status); };
    CalendarDate date;
    date.year = field(UCAL_EXTENDED_YEAR);
    date.month = field(UCAL_MONTH) + 1;
    date.day = field(UCAL_DATE);
    date.hour = field(UCAL_HOUR_OF_DAY);
    date.minute = field(UCAL_MINUTE);
    date.second = field(UCAL_SECOND) + field(UCAL_MILLISECOND) / SECOND;
    date.weekday = (field(UCAL_DAY_OF_WEEK) + 5) % 7 + 1;
    date.offsetMinutes = (field(UCAL_ZONE_OFFSET) + field(UCAL_DST_OFFSET)) / MINUTE;
    return date;
}

std::optional<ZonedTime> FromCalendar(const CalendarDate& date, std::string_view zone) {
    bool isTime = date.hour >= 0 && date.hour < 24 && date.minute >= 0 && date.minute < 60 && date.second >= 0
                  && date.second < 60;
    if (!isTime || date.month < 1 || date.month > 12 || date.day < 1 || date.day > 31) return std::nullopt;
    Calendar calendar = OpenCalendar(zone);
    UErrorCode status = U_ZERO_ERROR;
    ucal_clear(calendar.get());
    auto second = static_cast<int32_t>(date.second);
    ucal_setDateTime(calendar.get(), 1970, UCAL_JANUARY, 1, date.hour, date.minute, second, &status);
    ucal_set(calendar.get(), UCAL_EXTENDED_YEAR, date.year);
    ucal_set(calendar.get(), UCAL_MONTH, date.month - 1);
    ucal_set(calendar.get(), UCAL_DATE, date.day);
    double milliseconds = ucal_getMillis(calendar.get(), &status);
    ZonedTime time{milliseconds + std::round((date.second - second) * SECOND), std::string(zone)};
    if (time.zone.empty() || time.zone == "Z") time.zone = "UTC";
    CalendarDate found = ToCalendar(time);
    bool exists = U_SUCCESS(status) != 0 && found.day == date.day && found.month == date.month;
    return exists ? std::optional(time) : std::nullopt;
}

ZonedTime AddSpan(const ZonedTime& time, const TimeSpan& span, int32_t sign) {
    Calendar calendar = CalendarAt(time);
    UErrorCode status = U_ZERO_ERROR;
    ucal_add(calendar.get(), UCAL_MONTH, sign * span.months, &status);
    ucal_add(calendar.get(), UCAL_DATE, sign * span.days, &status);
    double milliseconds = ucal_getMillis(calendar.get(), &status);
    return {milliseconds + sign * std::round(span.seconds * SECOND), time.zone};
}

std::optional<ZonedTime> ParseDate(std::string_view text, std::string_view zone) {
    if (auto time = ParseRfc3339(text, std::string(zone))) return time;
    for (const char* pattern : {"EEE, d MMM yy HH:mm:ss Z", "d MMM yy HH:mm:ss Z", "EEE, d MMM yy HH:mm Z",
                                "d MMM yy HH:mm Z", "EEE, d MMM yy HH:mm:ss z", "d MMM yy HH:mm:ss z"}) {
        if (auto time = ParseDate(text, pattern, zone)) return time;
    }
    return std::nullopt;
}

std::optional<ZonedTime> ParseDate(std::string_view text, std::string_view pattern, std::string_view zone) {
    DateFormat format = OpenFormat(pattern, zone);
    if (format == nullptr) return std::nullopt;
    Calendar calendar = OpenCalendar(zone);
    ucal_clear(calendar.get());
    ucal_setAttribute(calendar.get(), UCAL_LENIENT, 0);
    std::u16string source = ToUtf16(text);
    int32_t end = 0;
    UErrorCode status = U_ZERO_ERROR;
    udat_parseCalendar(format.get(), calendar.get(), source.data(), static_cast<int32_t>(source.size()), &end, &status);
    double milliseconds = ucal_getMillis(calendar.get(), &status);
    if (U_FAILURE(status) || static_cast<size_t>(end) != source.size() || end == 0) return std::nullopt;
    char16_t name[128];
    int32_t length = ucal_getTimeZoneID(calendar.get(), name, 128, &status);
    std::string parsedZone = ZoneName(ToUtf8({name, static_cast<size_t>(length)}));
    return ZonedTime{milliseconds, parsedZone};
}

std::string DateText(const ZonedTime& time) {
    CalendarDate date = ToCalendar(time);
    std::string text;
    Pad(text, date.year, 4);
    Pad(text += '-', date.month, 2);
    Pad(text += '-', date.day, 2);
    Pad(text += 'T', date.hour, 2);
    Pad(text += ':', date.minute, 2);
    auto milliseconds = static_cast<int32_t>(std::round(date.second * SECOND));
    Pad(text += ':', milliseconds / 1000, 2);
    if (milliseconds % 1000 != 0) Pad(text += '.', milliseconds % 1000, 3);
    if (date.offsetMinutes == 0) return text + 'Z';
    text += date.offsetMinutes < 0 ? '-' : '+';
    Pad(text, std::abs(date.offsetMinutes) / 60, 2);
    Pad(text += ':', std::abs(date.offsetMinutes) % 60, 2);
    return text;
}

std::optional<std::string> FormatDate(const ZonedTime& time, std::string_view pattern) {
    DateFormat format = OpenFormat(pattern, time.zone);
    if (format == nullptr) return std::nullopt;
    std::u16string text(pattern.size() * 16 + 64, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length =
        udat_format(format.get(), time.milliseconds, text.data(), static_cast<int32_t>(text.size()), nullptr, &status);
    if (U_FAILURE(status)) return std::nullopt;
    text.resize(static_cast<size_t>(length));
    return ToUtf8(text);
}

std::optional<TimeSpan> ParseSpan(std::string_view text) {
    Scanner scanner(text);
    const int32_t sign = scanner.Accept('-') ? -1 : 1;
    if (!scanner.Accept('P')) return std::nullopt;
    TimeSpan span;
    bool hasPart = false;
    std::string_view letters = "YMWD";
    bool inTime = false;
    while (!scanner.AtEnd()) {
        if (!inTime && scanner.Accept('T')) {
            letters = "HMS";
            inTime = true;
            hasPart = false;
            continue;
        }
        int32_t value = 0;
        double fraction = 0;
        if (!scanner.Digits(6, value, false) || (scanner.Accept('.') && !scanner.Fraction(fraction)))
            return std::nullopt;
        size_t letter = letters.find(scanner.Peek());
        if (letter == std::string_view::npos || (fraction != 0 && letters[letter] != 'S')) return std::nullopt;
        scanner.Accept(letters[letter]);
        switch (letters[letter]) {
        case 'Y': span.months += sign * value * 12; break;
        case 'W': span.days += sign * value * 7; break;
        case 'D': span.days += sign * value; break;
        case 'H': span.seconds += sign * value * 3600.0; break;
        case 'S': span.seconds += sign * (value + fraction); break;
        default:
            if (inTime)
                span.seconds += sign * value * 60.0;
            else
                span.months += sign * value;
        }
        letters.remove_prefix(letter + 1);
        hasPart = true;
    }
    return hasPart ? std::optional(span) : std::nullopt;
}

// All parts have one sign where they can; a duration of mixed signs is shown by its parts.
std::string SpanText(const TimeSpan& span) {
    bool isNegative = span.months <= 0 && span.days <= 0 && span.seconds <= 0
                      && (span.months != 0 || span.days != 0 || span.seconds != 0);
    const int sign = isNegative ? -1 : 1;
    std::string text = isNegative ? "-P" : "P";
    AddPart(text, sign * span.months / 12, 'Y');
    AddPart(text, sign * span.months % 12, 'M');
    AddPart(text, sign * span.days, 'D');
    auto milliseconds = static_cast<int64_t>(std::round(sign * span.seconds * SECOND));
    std::string time;
    AddPart(time, milliseconds / 3600000, 'H');
    AddPart(time, milliseconds / MINUTE % 60, 'M');
    if (milliseconds % MINUTE != 0) time += NumberText(static_cast<double>(milliseconds % MINUTE) / SECOND) + "S";
    if (!time.empty()) return text + "T" + time;
    return text.back() == 'P' ? text + "T0S" : text;
}

} // namespace host
