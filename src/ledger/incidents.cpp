// Joining events by what they share.
#include "ledger/incidents.h"

#include <numeric>
#include <string>
#include <unordered_map>

namespace dravik {

namespace {

// Sets that grow together: each place knows the first one of its set.
class Sets {
  public:
    explicit Sets(size_t size) : parents(size) {
        std::iota(parents.begin(), parents.end(), size_t{0});
    }
    size_t firstOf(size_t place) {
        while (parents[place] != place) {
            parents[place] = parents[parents[place]];
            place = parents[place];
        }
        return place;
    }
    void join(size_t a, size_t b) {
        a = firstOf(a);
        b = firstOf(b);
        parents[a < b ? b : a] = a < b ? a : b;
    }

  private:
    std::vector<size_t> parents;
};

} // namespace

int64_t numberIncidents(std::vector<Event> *events, int64_t first) {
    Sets sets(events->size());
    std::unordered_map<std::string, size_t> sharers;
    const auto share = [&](char kind, const std::string &what, size_t place) {
        if (!what.empty()) {
            const auto [sharer, is_new] = sharers.emplace(kind + what, place);
            if (!is_new) {
                sets.join(sharer->second, place);
            }
        }
    };
    for (size_t i = 0; i < events->size(); ++i) {
        const Event &event = (*events)[i];
        share('v', event.wwid, i);
        share('t', event.target_port, i);
        share('i', event.initiator, i);
    }
    std::unordered_map<size_t, int64_t> numbers;
    for (size_t i = 0; i < events->size(); ++i) {
        const auto [number, is_new] = numbers.emplace(sets.firstOf(i), first);
        first += is_new ? 1 : 0;
        (*events)[i].incident = number->second;
    }
    return first;
}

} // namespace dravik
