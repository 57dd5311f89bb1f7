// DateTime and Duration.
#include "host/framework/date_time_text.h"
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <chrono>
#include <cmath>
#include <string>

namespace host {

namespace {

struct DateTimeData {
    ZonedTime time;

    static ClassDefinition& Record();
};

struct DurationData {
    TimeSpan span;

    static ClassDefinition& Record();
};

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

void Refuse(const std::string& message) { RaiseNew("IllegalArgumentException", 0, message); }

const ZonedTime& Time(Object* self) { return DataOf<DateTimeData>(self).time; }

Object* NewDateTime(const ZonedTime& time) {
    ObjectRef date = NewInstance(DateTimeData::Record());
    if (date) DataOf<DateTimeData>(date.Get()).time = time;
    return date.Detach();
}

Object* NewDuration(const TimeSpan& span) {
    ObjectRef duration = NewInstance(DurationData::Record());
    if (duration) DataOf<DurationData>(duration.Get()).span = span;
    return duration.Detach();
}

bool CheckZone(String* zone) {
    if (IsZone(StringView(zone))) return true;
    Refuse("there is no time zone \"" + std::string(StringView(zone)) + "\"");
    return false;
}

// Now, to the millisecond.
void ConstructNow(Object* self) {
    auto now = std::chrono::system_clock::now().time_since_epoch();
    DataOf<DateTimeData>(self).time.milliseconds =
        static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void ConstructOfText(Object* self, String* text, String* zone) {
    if (!CheckZone(zone)) return;
    std::optional<ZonedTime> time = ParseDate(StringView(text), StringView(zone));
    if (!time) return Refuse("\"" + std::string(StringView(text)) + "\" is no date of RFC 3339 or RFC 822");
    DataOf<DateTimeData>(self).time = *time;
}

void ConstructOfParts(Object* self, int32_t year, int32_t month, int32_t day, int32_t hour, int32_t minute,
                      double second, String* zone) {
    if (!CheckZone(zone)) return;
    CalendarDate date{.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second};
    std::optional<ZonedTime> time = FromCalendar(date, StringView(zone));
    if (!time) return Refuse("there is no such day or time");
    DataOf<DateTimeData>(self).time = *time;
}

enum Part : int32_t { YEAR, MONTH, DAY, HOUR, MINUTE, WEEKDAY, OFFSET };

int32_t GetPart(Object* self, int32_t part) {
    CalendarDate date = ToCalendar(Time(self));
    switch (part) {
    case YEAR: return date.year;
    case MONTH: return date.month;
    case DAY: return date.day;
    case HOUR: return date.hour;
    case MINUTE: return date.minute;
    case WEEKDAY: return date.weekday;
    default: return date.offsetMinutes;
    }
}

double GetSecond(Object* self, int32_t) { return ToCalendar(Time(self)).second; }
double GetEpoch(Object* self, int32_t) { return Time(self).milliseconds / 1000; }
String* GetZone(Object* self, int32_t) { return BuildUtf8(Time(self).zone); }
String* GetDateText(Object* self, int32_t) { return BuildUtf8(DateText(Time(self))); }

String* Format(Object* self, String* pattern) {
    if (auto text = FormatDate(Time(self), StringView(pattern))) return BuildUtf8(*text);
    Refuse("Format: malformed pattern \"" + std::string(StringView(pattern)) + "\"");
    return nullptr;
}

template <int32_t SIGN>
Object* Shift(Object* self, Object* duration) {
    if (duration == nullptr) {
        RaiseNew("NilObjectException", 0, "the duration is Nil");
        return nullptr;
    }
    return NewDateTime(AddSpan(Time(self), DataOf<DurationData>(duration).span, SIGN));
}

Object* Since(Object* self, Object* other) {
    if (other == nullptr) {
        RaiseNew("NilObjectException", 0, "the date is Nil");
        return nullptr;
    }
    return NewDuration({0, 0, (Time(self).milliseconds - Time(other).milliseconds) / 1000});
}

Object* InZone(Object* self, String* zone) {
    if (!CheckZone(zone)) return nullptr;
    ZonedTime time{Time(self).milliseconds, std::string(StringView(zone))};
    if (time.zone.empty() || time.zone == "Z") time.zone = "UTC";
    return NewDateTime(time);
}

void ConstructDuration(Object* self, String* text) {
    std::optional<TimeSpan> span = ParseSpan(StringView(text));
    if (!span) return Refuse("\"" + std::string(StringView(text)) + "\" is no duration such as P1Y2M3DT4H5M6S");
    DataOf<DurationData>(self).span = *span;
}

int32_t GetMonths(Object* self, int32_t) { return DataOf<DurationData>(self).span.months; }
int32_t GetDays(Object* self, int32_t) { return DataOf<DurationData>(self).span.days; }
double GetSeconds(Object* self, int32_t) { return DataOf<DurationData>(self).span.seconds; }
String* GetDurationText(Object* self, int32_t) { return BuildUtf8(SpanText(DataOf<DurationData>(self).span)); }

Object* ParseByPattern(String* text, String* pattern, String* zone) {
    if (!CheckZone(zone)) return nullptr;
    if (auto time = ParseDate(StringView(text), StringView(pattern), StringView(zone))) return NewDateTime(*time);
    Refuse("ParseDate: \"" + std::string(StringView(text)) + "\" does not fit \"" + std::string(StringView(pattern))
           + "\"");
    return nullptr;
}

const PropertyDefinition PROPERTIES[] = {
    ReadOnly("Year", "Integer", Native<GetPart>(), YEAR),
    ReadOnly("Month", "Integer", Native<GetPart>(), MONTH),
    ReadOnly("Day", "Integer", Native<GetPart>(), DAY),
    ReadOnly("Hour", "Integer", Native<GetPart>(), HOUR),
    ReadOnly("Minute", "Integer", Native<GetPart>(), MINUTE),
    ReadOnly("Second", "Double", Native<GetSecond>()),
    ReadOnly("Weekday", "Integer", Native<GetPart>(), WEEKDAY),
    ReadOnly("OffsetMinutes", "Integer", Native<GetPart>(), OFFSET),
    ReadOnly("Zone", "String", Native<GetZone>()),
    ReadOnly("SecondsSince1970", "Double", Native<GetEpoch>()),
    ReadOnly("Text", "String", Native<GetDateText>()),
};

const MethodDefinition METHODS[] = {
    Member("Constructor()", Native<ConstructNow>()),
    Member("Constructor(text as String, zone as String = \"UTC\")", Native<ConstructOfText>()),
    Member("Constructor(year as Integer, month as Integer, day as Integer, hour as Integer = 0, minute as Integer = 0, "
           "second as Double = 0.0, zone as String = \"UTC\")",
           Native<ConstructOfParts>()),
    Member("Format(pattern as String) as String", Native<Format>()),
    Member("Plus(duration as Duration) as DateTime", Native<Shift<1>>()),
    Member("Minus(duration as Duration) as DateTime", Native<Shift<-1>>()),
    Member("Since(other as DateTime) as Duration", Native<Since>()),
    Member("InZone(zone as String) as DateTime", Native<InZone>()),
};

const PropertyDefinition DURATION_PROPERTIES[] = {
    ReadOnly("Months", "Integer", Native<GetMonths>()),
    ReadOnly("Days", "Integer", Native<GetDays>()),
    ReadOnly("Seconds", "Double", Native<GetSeconds>()),
    ReadOnly("Text", "String", Native<GetDurationText>()),
};

const MethodDefinition DURATION_METHODS[] = {
    Member("Constructor(text as String)", Native<ConstructDuration>()),
};

ClassDefinition& DateTimeData::Record() {
    static ClassDefinition record = ClassRecordOf<DateTimeData>("DateTime", PROPERTIES, METHODS);
    return record;
}

ClassDefinition& DurationData::Record() {
    static ClassDefinition record = ClassRecordOf<DurationData>("Duration", DURATION_PROPERTIES, DURATION_METHODS);
    return record;
}

const GlobalFunction FUNCTIONS[] = {
    {"ParseDate(text as String, pattern as String, zone as String = \"UTC\") as DateTime", Native<ParseByPattern>()},
};

} // namespace

void RegisterDates() {
    RegisterClass(DurationData::Record());
    RegisterClass(DateTimeData::Record());
    RegisterFunctions(FUNCTIONS);
}

} // namespace host
