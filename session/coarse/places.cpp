#include "coarse/places.h"

#include <algorithm>
#include <cmath>

namespace brantel::session {

namespace {

constexpr std::size_t bestOfEach = 3;
// Peaks nearer than this (in x and in y) are one.
constexpr std::int32_t apart = 3;

bool isSamePeak(const Place& a, const Place& b) {
    return std::abs(a.x - b.x) < apart && std::abs(a.y - b.y) < apart;
}

/// The best few by a score, best first. Of equals the first one wins.
class BestPlaces {
  public:
    bool wants(double score) const { return found_.size() < bestOfEach || score > found_.back().score; }
    void add(const Place& place, double score) {
        for (auto other = found_.begin(); other != found_.end(); ++other)
            if (isSamePeak(other->place, place)) {
                if (other->score >= score) return;
                found_.erase(other);
                break;
            }
        const auto behind = std::find_if(found_.begin(), found_.end(),
                                         [score](const Scored& other) { return other.score < score; });
        found_.insert(behind, {place, score});
        if (found_.size() > bestOfEach) found_.pop_back();
    }
    void appendTo(std::vector<Place>& places) const {
        for (const Scored& scored : found_) {
            const auto same = [&](const Place& other) { return isSamePeak(scored.place, other); };
            if (std::none_of(places.begin(), places.end(), same)) places.push_back(scored.place);
        }
    }

  private:
    struct Scored {
        Place place;
        double score;
    };
    std::vector<Scored> found_;
};

/// No neighbour within the map is greater.
bool isPeak(const ShiftMap& map, std::int32_t x, std::int32_t y) {
    const double value = map.at(x, y);
    for (std::int32_t v = std::max(y - 1, -map.reachY()); v <= std::min(y + 1, map.reachY()); ++v)
        for (std::int32_t u = std::max(x - 1, -map.reachX()); u <= std::min(x + 1, map.reachX()); ++u)
            if (map.at(u, v) > value) return false;
    return true;
}

void refineByParabola(const ShiftMap& map, Place& place) {
    place.fineX = place.x;
    place.fineY = place.y;
    if (std::abs(place.x) < map.reachX())
        place.fineX +=
            parabolaPeak(map.at(place.x - 1, place.y), place.likeness, map.at(place.x + 1, place.y));
    if (std::abs(place.y) < map.reachY())
        place.fineY +=
            parabolaPeak(map.at(place.x, place.y - 1), place.likeness, map.at(place.x, place.y + 1));
}

}  // namespace

std::vector<Place> findPlaces(const ShiftMap& map, const Level& level, const ShiftWindow& window) {
    std::vector<double> widthRoot(static_cast<std::size_t>(level.cols) + 1);
    for (std::int32_t w = 0; w <= level.cols; ++w) widthRoot[static_cast<std::size_t>(w)] = std::sqrt(w);
    BestPlaces alike;
    BestPlaces large;
    for (std::int32_t y = std::max(window.top, -map.reachY()); y <= std::min(window.bottom, map.reachY());
         ++y) {
        const double heightRoot = std::sqrt(level.rows - std::abs(y));
        const double* row = map.row(y);
        for (std::int32_t x = std::max(window.left, -map.reachX()); x <= std::min(window.right, map.reachX());
             ++x) {
            if (row[x] <= 0) continue;
            const double weighted =
                row[x] * heightRoot * widthRoot[static_cast<std::size_t>(level.cols - std::abs(x))];
            if (!alike.wants(row[x]) && !large.wants(weighted)) continue;
            if (!isPeak(map, x, y)) continue;
            alike.add({x, y, row[x]}, row[x]);
            large.add({x, y, row[x]}, weighted);
        }
    }
    std::vector<Place> places;
    alike.appendTo(places);
    large.appendTo(places);
    std::stable_sort(places.begin(), places.end(),
                     [](const Place& a, const Place& b) { return a.likeness > b.likeness; });
    for (Place& place : places) refineByParabola(map, place);
    return places;
}

double parabolaPeak(double before, double middle, double behind) {
    const double curvature = 2 * middle - before - behind;
    if (!(curvature > 0)) return 0;
    return std::clamp((behind - before) / (2 * curvature), -0.5, 0.5);
}

}  // namespace brantel::session
