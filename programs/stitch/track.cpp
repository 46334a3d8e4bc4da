#include "stitch/track.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

namespace brantel::programs {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double farthest = 1e9;  // that a session takes for a position

brantel_input inputFor(const Candidate& candidate, PlaceUse use) {
    brantel_input input{};
    input.tag = static_cast<std::int64_t>(candidate.report.number);
    if (!candidate.place || std::abs(candidate.place->x) > farthest ||
        std::abs(candidate.place->y) > farthest)
        return input;
    input.has_position = 1;
    input.x = candidate.place->x;
    input.y = candidate.place->y;
    // A position that may be off by any amount leads nowhere.
    input.uncertainty = use == PlaceUse::none ? farthest : 0;
    return input;
}

bool isSame(const brantel_frame& a, const brantel_frame& b) {
    return a.state == b.state && a.reason == b.reason && a.map == b.map && a.x == b.x && a.y == b.y;
}

}  // namespace

bool Track::add(Candidate& candidate, PlaceUse use) {
    FrameReport& report = candidate.report;
    brantel_answer answer{};
    const auto start = Clock::now();
    const brantel_status status = session_->add(candidate.frame.image, inputFor(candidate, use), answer);
    report.milliseconds += std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    ++report.attempts;
    report.waiting = false;
    mapsMoved_ |= status != BRANTEL_OK || (answer.changes & BRANTEL_MAPS_JOINED) != 0;
    numberMaps();
    if (status != BRANTEL_OK) {
        report.reason = status == BRANTEL_NO_MEMORY ? Reason::outOfMemory : Reason::libraryFailure;
        if (status != BRANTEL_NO_MEMORY) report.detail = session_->error();
        return false;
    }
    report.contradicts = (answer.changes & BRANTEL_POSITION_CONTRADICTED) != 0;
    Entry entry;
    entry.place = candidate.place;
    entries_.push_back(std::move(entry));
    open_.push_back(entries_.size() - 1);
    entries_.back().seen = look(entries_.size() - 1);
    describe(entries_.back().seen, candidate.place, report);
    return true;
}

/// Maps get their numbers in the order in which they become mosaics.
void Track::numberMaps() {
    const std::int32_t count = session_->mapCount();
    numbers_.resize(static_cast<std::size_t>(count), 0);
    for (std::int32_t map = 1; map <= count; ++map) {
        std::int32_t& number = numbers_[static_cast<std::size_t>(map) - 1];
        if (number != 0 || session_->map(map).frames < 2) continue;
        number = ++mosaics_;
    }
}

Track::Seen Track::look(std::size_t index) {
    Seen seen{session_->frame(static_cast<std::int64_t>(index)), 0};
    if (seen.frame.map > 0) seen.number = numbers_[static_cast<std::size_t>(seen.frame.map) - 1];
    if (seen.frame.state == BRANTEL_PLACED) lastPlaced_ = std::max(lastPlaced_.value_or(index), index);
    return seen;
}

void Track::describe(const Seen& seen, const std::optional<cv::Point2d>& place, FrameReport& report) const {
    const brantel_frame& frame = seen.frame;
    const bool inMap = frame.state == BRANTEL_PLACED;
    const bool alone = inMap && seen.number == 0;
    report.placed = inMap && !alone;
    report.waiting = frame.state == BRANTEL_WAITING || alone;
    report.reason = alone ? Reason::noPartner : reasonOf(frame.reason);
    report.map = seen.number;
    report.position = {frame.x, frame.y};
    report.foundBy = frame.found_by;
    report.startsMosaic = report.placed && frame.found_by == BRANTEL_BY_FIRST && frame.x == 0 && frame.y == 0;
    report.confidence = frame.confidence;
    report.matches = frame.matches;
    if (frame.found_by == BRANTEL_BY_POSITION) report.usedExpected = true;
    describeJoint(frame, place, report);
    if (frame.state == BRANTEL_SKIPPED && standsStillAgainstExpectation(report))
        report.reason = Reason::contradicted;
}

void Track::describeJoint(const brantel_frame& frame, const std::optional<cv::Point2d>& place,
                          FrameReport& report) const {
    report.joins = 0;
    report.offset.reset();
    if (frame.joins < 0) return;
    const brantel_frame other = session_->frame(frame.joins);
    report.joins = static_cast<std::size_t>(other.tag);
    report.expected = shiftBetween(entries_[static_cast<std::size_t>(frame.joins)].place, place);
    if (frame.map > 0 && frame.map == other.map) report.offset = Shift(frame.x - other.x, frame.y - other.y);
}

/// True when the pictures say that nothing has moved although it should have moved far: they have something in
/// common that does not move with the object, such as a scale bar.
bool Track::standsStillAgainstExpectation(const FrameReport& report) const {
    if (!report.expected) return false;
    constexpr std::int32_t fifth = 5;  // of a side; twice what is too small
    const FrameGeometry& frame = session_->geometry();
    return fifth * std::abs(report.expected->x) > frame.columns ||
           fifth * std::abs(report.expected->y) > frame.rows;
}

void Track::endWaiting() {
    session_->endMap();
}

/// A refused frame stays refused, and one in a mosaic moves with all others only, when maps are joined.
bool Track::isOpen(const Seen& seen) {
    return seen.frame.state != BRANTEL_REFUSED && seen.number == 0;
}

void Track::tellIfChanged(std::size_t index) {
    Entry& entry = entries_[index];
    const Seen now = look(index);
    const bool same = now.number == entry.seen.number && isSame(now.frame, entry.seen.frame);
    if (same && entry.told) return;
    entry.seen = now;
    entry.told = true;
    if (!entry.report) return;
    if (!same) describe(now, entry.place, *entry.report);
    tell_(*entry.report);
    entry.report->before = saidBy(*entry.report);
}

void Track::tellChanges() {
    if (mapsMoved_) {
        for (std::size_t index = 0; index < entries_.size(); ++index) tellIfChanged(index);
    } else {
        for (const std::size_t index : open_) tellIfChanged(index);
    }
    mapsMoved_ = false;
    open_.erase(std::remove_if(open_.begin(), open_.end(),
                               [this](std::size_t index) { return !isOpen(entries_[index].seen); }),
                open_.end());
}

bool Track::hasMosaic() const {
    return std::any_of(numbers_.begin(), numbers_.end(), [](std::int32_t number) { return number != 0; });
}

std::optional<cv::Point2d> Track::lastPlace() const {
    return lastPlaced_ ? entries_[*lastPlaced_].place : std::nullopt;
}

bool Track::hasReached(std::int64_t area) const {
    const std::int64_t last = session_->frameCount() - 1;
    const std::int32_t map = last < 0 ? 0 : session_->frame(last).map;
    if (map == 0) return false;
    const brantel_map facts = session_->map(map);
    return std::int64_t{facts.canvas_columns} * facts.canvas_rows >= area;
}

cv::Size Track::canvasSize() const {
    for (std::int32_t number = session_->mapCount(); number > 0; --number)
        if (const brantel_map map = session_->map(number); map.joined_into == 0)
            return {map.canvas_columns, map.canvas_rows};
    return {};
}

std::vector<FinishedMosaic> Track::mosaics() const {
    std::vector<FinishedMosaic> list;
    for (std::int32_t map = 1; map <= session_->mapCount(); ++map)
        if (session_->map(map).frames > 1) list.push_back(mosaicOf(map));
    std::sort(list.begin(), list.end(),
              [](const FinishedMosaic& a, const FinishedMosaic& b) { return a.number < b.number; });
    return list;
}

FinishedMosaic Track::mosaicOf(std::int32_t map) const {
    const brantel_map facts = session_->map(map);
    FinishedMosaic mosaic;
    mosaic.number = numbers_[static_cast<std::size_t>(map) - 1];
    mosaic.size = {facts.width, facts.height};
    mosaic.origin = {facts.x, facts.y};
    mosaic.frameSize = {session_->geometry().columns, session_->geometry().rows};
    mosaic.channels = session_->geometry().channels;
    mosaic.read = [this, map, origin = mosaic.origin](const cv::Rect& part) {
        return session_->read(map, part + origin);
    };
    for (std::int64_t index = 0; index < session_->frameCount(); ++index) {
        const brantel_frame frame = session_->frame(index);
        if (frame.state != BRANTEL_PLACED || frame.map != map) continue;
        if (frame.found_by == BRANTEL_BY_FIRST && frame.x == 0 && frame.y == 0)
            mosaic.firstFrame = static_cast<std::size_t>(frame.tag);
        mosaic.path.push_back(cv::Point(frame.x, frame.y) - mosaic.origin);
    }
    return mosaic;
}

}  // namespace brantel::programs
