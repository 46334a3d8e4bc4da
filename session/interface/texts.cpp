#include <brantel/session.h>

#include <cstddef>
#include <iterator>

namespace {

/// The value's name out of a list that begins with 0.
template <std::size_t Count>
const char* nameIn(const char* const (&names)[Count], std::int32_t value) {
    const bool known = value >= 0 && static_cast<std::size_t>(value) < Count;
    return known ? names[value] : "unknown";
}

constexpr const char* statuses[] = {"ok",
                                    "a pointer is null",
                                    "a struct has a wrong size",
                                    "columns, rows or channels cannot be used",
                                    "a stride is shorter than a row",
                                    "a setting is out of its range",
                                    "a position is out of its range",
                                    "no such frame",
                                    "no such map",
                                    "a rectangle is empty or too large",
                                    "a reduction is not a power of two up to 1024",
                                    "no memory",
                                    "no threads",
                                    "the session is in use",
                                    "the session belongs to another process",
                                    "a map would become too large",
                                    "internal error"};
constexpr const char* states[] = {"unknown", "placed", "skipped", "waiting", "refused"};
constexpr const char* reasons[] = {
    "none",       "shift too small", "shift too large",  "too few corners", "too few matches",
    "brightness", "motion",          "nothing joins it", "no room to wait", "map ended"};
constexpr const char* ways[] = {"not found", "first", "corners", "correlation", "position"};
static_assert(std::size(statuses) == BRANTEL_INTERNAL_ERROR + 1 && std::size(states) == BRANTEL_REFUSED + 1 &&
                  std::size(reasons) == BRANTEL_MAP_ENDED + 1 && std::size(ways) == BRANTEL_BY_POSITION + 1,
              "every value has a name");

}  // namespace

extern "C" {

const char* brantel_version(void) {
    return BRANTEL_VERSION;
}

const char* brantel_status_text(brantel_status status) {
    return nameIn(statuses, status);
}

const char* brantel_state_text(int32_t state) {
    return nameIn(states, state);
}

const char* brantel_reason_text(int32_t reason) {
    return nameIn(reasons, reason);
}

const char* brantel_found_by_text(int32_t foundBy) {
    return nameIn(ways, foundBy);
}
}
