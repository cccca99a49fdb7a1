// Writing Prometheus' text format.
#include "output/metrics_text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>

#include "common/visible_text.h"
#include "output/well_formed.h"

namespace dravik {

namespace {

// Whether a label's value stands as it is; nearly all do.
bool isPlain(std::string_view value) {
    return std::all_of(value.begin(), value.end(),
                       [](char byte) { return byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\'; });
}

void escape(std::string *out, std::string_view text, bool with_quotes) {
    for (const char byte : text) {
        if (byte == '\n') {
            *out += "\\n";
        } else {
            if (byte == '\\' || (with_quotes && byte == '"')) {
                *out += '\\';
            }
            *out += byte;
        }
    }
}

void appendValue(std::string *out, std::string_view value) {
    if (isPlain(value)) {
        *out += value;
        return;
    }
    const std::string formed = wellFormed(value); // without a NUL
    escape(out, VisibleText(formed.c_str(), Newlines::KEPT).text(), true);
}

void appendNumber(std::string *out, int64_t value) {
    char digits[32];
    const std::to_chars_result end = std::to_chars(std::begin(digits), std::end(digits), value);
    out->append(digits, end.ptr);
}

} // namespace

Labels &Labels::add(std::string_view name, std::string_view value) {
    if (!written.empty()) {
        written += ',';
    }
    written.append(name).append("=\"");
    appendValue(&written, value);
    written += '"';
    return *this;
}

void MetricsText::family(std::string_view name, MetricType type, std::string_view help) {
    family_name = name;
    family_type = type;
    family_help = help;
    is_headed = false;
}

void MetricsText::begin(const Labels &labels, const Labels &more) {
    if (!is_headed) {
        written.append("# HELP ").append(family_name).append(" ");
        escape(&written, family_help, false);
        written.append("\n# TYPE ").append(family_name);
        written.append(family_type == MetricType::COUNTER ? " counter\n" : " gauge\n");
        is_headed = true;
    }
    written += family_name;
    if (!labels.text().empty() || !more.text().empty()) {
        const bool both = !labels.text().empty() && !more.text().empty();
        written.append("{").append(labels.text()).append(both ? "," : "").append(more.text()).append("}");
    }
    written += ' ';
}

void MetricsText::sample(const Labels &labels, const Labels &more, int64_t value) {
    begin(labels, more);
    appendNumber(&written, value);
    written += '\n';
}

void MetricsText::sampleThousandths(const Labels &labels, int64_t value) {
    begin(labels, Labels());
    // The remainder has the sign of the whole, and the whole may be a 0 that has none.
    const int64_t whole = value / 1000;
    const int rest = static_cast<int>(value % 1000);
    if (whole == 0 && rest < 0) {
        written += '-';
    }
    appendNumber(&written, whole);
    char decimals[16];
    snprintf(decimals, sizeof(decimals), ".%03d\n", rest < 0 ? -rest : rest);
    written += decimals;
}

} // namespace dravik
