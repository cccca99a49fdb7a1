// Reading points in time.
#include "commands/time_word.h"

#include <ctime>

namespace dravik {

namespace {

constexpr Milliseconds SECOND_MS = 1000;
constexpr Milliseconds LONGEST_AGE_S = 100LL * 366 * 24 * 3600;

// Takes one piece after another from the front of a word; what does not fit fails it for good.
class Reader {
  public:
    explicit Reader(std::string_view word) : rest(word) {}

    bool atEnd() const {
        return rest.empty();
    }
    bool failed() const {
        return is_bad;
    }
    bool takesOne(std::string_view characters, char *taken = nullptr) {
        if (rest.empty() || characters.find(rest.front()) == std::string_view::npos) {
            return false;
        }
        if (taken != nullptr) {
            *taken = rest.front();
        }
        rest.remove_prefix(1);
        return true;
    }
    void need(char character) {
        is_bad = is_bad || !takesOne(std::string_view(&character, 1));
    }
    // So many digits, for a number from `least` to `most`.
    int number(int digits, int least, int most) {
        int value = 0;
        char digit = '0';
        for (int i = 0; i < digits && !is_bad; ++i) {
            is_bad = !takesOne("0123456789", &digit);
            value = value * 10 + (digit - '0');
        }
        is_bad = is_bad || value < least || value > most;
        return value;
    }
    // The digits behind a decimal sign as milliseconds; at least one.
    int fraction() {
        int value = 0;
        int scale = 100;
        char digit = '0';
        is_bad = is_bad || rest.empty();
        while (takesOne("0123456789", &digit)) {
            value += (digit - '0') * scale;
            scale /= 10;
        }
        return value;
    }

  private:
    std::string_view rest;
    bool is_bad = false;
};

bool isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int daysOf(int month, int year) {
    constexpr int DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return DAYS[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

struct Clock {
    tm day = {};
    int milliseconds = 0;
};

void readDay(Reader *reader, tm *day) {
    const int year = reader->number(4, 1970, 9999);
    reader->need('-');
    const int month = reader->number(2, 1, 12);
    reader->need('-');
    const int number = reader->number(2, 1, 31);
    if (!reader->failed() && number > daysOf(month, year)) {
        reader->need('\0');
    }
    day->tm_year = year - 1900;
    day->tm_mon = month - 1;
    day->tm_mday = number;
}

void readClock(Reader *reader, Clock *clock) {
    clock->day.tm_hour = reader->number(2, 0, 23);
    reader->need(':');
    clock->day.tm_min = reader->number(2, 0, 59);
    if (reader->takesOne(":")) {
        clock->day.tm_sec = reader->number(2, 0, 60);
        if (reader->takesOne(".,")) {
            clock->milliseconds = reader->fraction();
        }
    }
}

// The seconds east of UTC that a zone means.
int readZone(Reader *reader, char sign) {
    if (sign == 'Z') {
        return 0;
    }
    const int hours = reader->number(2, 0, 23);
    int minutes = 0;
    if (!reader->atEnd()) {
        reader->takesOne(":");
        minutes = reader->number(2, 0, 59);
    }
    return (sign == '-' ? -1 : 1) * (hours * 3600 + minutes * 60);
}

Milliseconds localMs(Clock clock) {
    clock.day.tm_isdst = -1;
    return mktime(&clock.day) * SECOND_MS + clock.milliseconds;
}

std::optional<Milliseconds> parseDate(std::string_view word) {
    Reader reader(word);
    Clock clock;
    readDay(&reader, &clock.day);
    char sign = '\0';
    int east = 0;
    if (reader.takesOne("T ")) {
        readClock(&reader, &clock);
        if (reader.takesOne("Z+-", &sign)) {
            east = readZone(&reader, sign);
        }
    }
    if (reader.failed() || !reader.atEnd()) {
        return std::nullopt;
    }
    return sign == '\0' ? localMs(clock) : (timegm(&clock.day) - east) * SECOND_MS + clock.milliseconds;
}

// The clock's time of today, or of yesterday where that has not come yet.
std::optional<Milliseconds> parseClock(std::string_view word, Milliseconds now) {
    Reader reader(word);
    const time_t seconds = now / SECOND_MS;
    Clock clock;
    localtime_r(&seconds, &clock.day);
    clock.day.tm_sec = 0;
    readClock(&reader, &clock);
    if (reader.failed() || !reader.atEnd()) {
        return std::nullopt;
    }
    const Milliseconds today = localMs(clock);
    if (today <= now) {
        return today;
    }
    --clock.day.tm_mday;
    return localMs(clock);
}

std::optional<Milliseconds> parseAge(std::string_view word, Milliseconds now) {
    constexpr std::string_view UNITS = "smhdw";
    constexpr Milliseconds SECONDS[] = {1, 60, 3600, 24LL * 3600, 7LL * 24 * 3600};
    const size_t unit = word.empty() ? std::string_view::npos : UNITS.find(word.back());
    if (unit == std::string_view::npos || word.size() < 2) {
        return std::nullopt;
    }
    Milliseconds count = 0;
    for (const char digit : word.substr(0, word.size() - 1)) {
        count = count * 10 + (digit - '0');
        if (digit < '0' || digit > '9' || count * SECONDS[unit] > LONGEST_AGE_S) {
            return std::nullopt;
        }
    }
    return now - count * SECONDS[unit] * SECOND_MS;
}

} // namespace

std::optional<Milliseconds> parseTimeWord(std::string_view word, Milliseconds now) {
    std::optional<Milliseconds> time = parseDate(word);
    if (!time) {
        time = parseClock(word, now);
    }
    return time ? time : parseAge(word, now);
}

} // namespace dravik
