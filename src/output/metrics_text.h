// Prometheus' text format 0.0.4 on its way out, one text for all families.
//
// Label values are UTF-8 by then: bytes that are none become U+FFFD, control bytes become visible ("\x1b"), and the format's
// own escapes (backslash, quote, newline) come on top, so that whoever reads them back has the visible text. Memory that
// runs out is thrown as std::bad_alloc.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace dravik {

// A sample's labels as they stand between the braces, ready for use in many samples: wwid="36a",alias="database".
class Labels {
  public:
    // `name` is an identifier of ours; `value` any bytes.
    Labels &add(std::string_view name, std::string_view value);
    const std::string &text() const {
        return written;
    }

  private:
    std::string written;
};

enum class MetricType { GAUGE, COUNTER };

class MetricsText {
  public:
    // Makes space for so many bytes in all, where it is known that they come.
    void reserve(size_t bytes) {
        written.reserve(bytes);
    }

    // What follows are samples of this family. Its HELP and TYPE stand before the first of them; a family without one
    // leaves nothing behind. `help` is any text in UTF-8, escaped here. Both stay the caller's, and outlive the samples.
    void family(std::string_view name, MetricType type, std::string_view help);

    // A sample with these labels and those in `more`, a whole number; and one in thousandths, written with all three.
    void sample(const Labels &labels, const Labels &more, int64_t value);
    void sample(const Labels &labels, int64_t value) {
        sample(labels, Labels(), value);
    }
    void sampleThousandths(const Labels &labels, int64_t value);

    // What was written, given away.
    std::string take() {
        return std::move(written);
    }

  private:
    void begin(const Labels &labels, const Labels &more);

    std::string written;
    std::string_view family_name;
    std::string_view family_help;
    MetricType family_type = MetricType::GAUGE;
    bool is_headed = false; // HELP and TYPE of the family are written
};

} // namespace dravik
