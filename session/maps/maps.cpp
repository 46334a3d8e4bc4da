#include "maps/maps.h"

#include <algorithm>
#include <limits>

namespace brantel::session {

namespace {

constexpr std::int32_t margin = 1;  // around all frames of a canvas, as the engine keeps it
constexpr std::int64_t largestArea = std::numeric_limits<std::int32_t>::max();

std::int32_t missing(std::int64_t needed) {
    return static_cast<std::int32_t>(std::max<std::int64_t>(needed, 0));
}

/// Keeps the engine's own idea of a mosaic's bounds right when others move into it.
void extendBounds(Mosaic& mosaic, const Region& part) {
    mosaic.minimum = {std::min(mosaic.minimum.x, part.colStart), std::min(mosaic.minimum.y, part.rowStart)};
    mosaic.maximum = {std::max(mosaic.maximum.x, part.colEnd), std::max(mosaic.maximum.y, part.rowEnd)};
}

Region regionOf(const Rectangle& rectangle, CornerPoint origin) {
    return {origin.y + rectangle.y, origin.y + rectangle.bottom(), origin.x + rectangle.x,
            origin.x + rectangle.right()};
}

}  // namespace

std::int32_t Maps::survivorOf(std::int32_t number) const {
    while (at(number).joinedInto != 0) number = at(number).joinedInto;
    return number;
}

std::int32_t Maps::countOf(std::int32_t group) const {
    return static_cast<std::int32_t>(std::count_if(maps_.begin(), maps_.end(), [group](const auto& map) {
        return map->group == group && map->joinedInto == 0;
    }));
}

const Mosaic& Maps::mosaicOf(const Map& map) const {
    return &map == entered_ ? engine_.mosaic : map.state.mosaic;
}

void Maps::leave() {
    if (entered_ == nullptr) return;
    engine_.exchangeMap(entered_->state);
    entered_ = nullptr;
}

void Maps::enter(Map& map) {
    if (entered_ == &map) return;
    leave();
    engine_.exchangeMap(map.state);
    entered_ = &map;
}

Map& Maps::begin(std::int32_t group, std::int64_t frame, std::uint8_t* pixels) {
    auto map = std::make_unique<Map>();
    maps_.reserve(maps_.size() + 1);
    const ImageDesc& size = engine_.frame;
    leave();
    CpuMapState state;  // in the place of what the engine keeps while it works on no map
    engine_.exchangeMap(state);
    try {
        if (!engine_.beginMap(pixels)) throw StepBrokenOff();
    } catch (...) {
        engine_.exchangeMap(state);
        throw;
    }
    engine_.exchangeMap(state);
    map->number = count() + 1;
    map->group = group;
    map->state = std::move(state);
    map->origin = map->state.mosaic.position();
    map->extent = {0, 0, size.cols, size.rows};
    map->frames = 1;
    map->templateFrame = frame;
    maps_.push_back(std::move(map));
    enter(*maps_.back());
    return *maps_.back();
}

void Maps::useAsTemplate(std::int64_t frame) {
    const FrameEntry& entry = frames_[static_cast<std::size_t>(frame)];
    Map& map = at(entry.map);
    enter(map);
    if (map.templateFrame == frame) return;
    const CornerPoint onCanvas{map.origin.x + entry.at.x, map.origin.y + entry.at.y};
    const cv::Mat& canvas = engine_.mosaic.canvas;
    map.templateFrame = -1;
    engine_.takeTemplate(canvas.ptr(onCanvas.y, onCanvas.x), static_cast<std::int64_t>(canvas.step[0]),
                         onCanvas);
    map.templateFrame = frame;
}

StepEnd Maps::merge(std::int64_t frame, Offset offset, std::int32_t matches) {
    const CornerPoint before = engine_.mosaic.position();
    const StepEnd end = engine_.mergeCurrent(offset, matches);
    if (end == StepEnd::brokenOff) throw StepBrokenOff();
    if (end == StepEnd::done) noteMerged(frame, before, offset);
    return end;
}

void Maps::noteMerged(std::int64_t frame, CornerPoint before, Offset offset) {
    Map& map = *entered_;
    const CornerPoint onCanvas = engine_.mosaic.position();
    // What the place is beyond the offset comes of growth at the top or the left.
    map.origin.x += onCanvas.x - (before.x + offset.x);
    map.origin.y += onCanvas.y - (before.y + offset.y);
    map.extent = united(map.extent, {onCanvas.x - map.origin.x, onCanvas.y - map.origin.y, engine_.frame.cols,
                                     engine_.frame.rows});
    ++map.frames;
    map.templateFrame = frame;
}

/// Grows the canvas of the map that the engine works on by what a rectangle misses.
bool Maps::makeRoom(Map& map, const Rectangle& rectangle) {
    Mosaic& mosaic = engine_.mosaic;
    const Rectangle all = united(map.extent, rectangle);
    if (std::int64_t{all.width} * all.height > largestArea) return false;
    const Region part = regionOf(all, map.origin);
    const CanvasBorders borders{missing(std::int64_t{margin} - part.rowStart),
                                missing(std::int64_t{part.rowEnd} + margin - mosaic.canvas.rows),
                                missing(std::int64_t{margin} - part.colStart),
                                missing(std::int64_t{part.colEnd} + margin - mosaic.canvas.cols)};
    PaintedRows painted = mosaic.painted;
    mosaic.canvas = growCanvas(mosaic.canvas, borders, &painted, &engine_.workers);
    mosaic.painted = painted;
    mosaic.record.frameX += borders.left;
    mosaic.record.frameY += borders.top;
    for (CornerPoint* point : {&mosaic.minimum, &mosaic.maximum, &map.origin}) {
        point->x += borders.left;
        point->y += borders.top;
    }
    return true;
}

bool Maps::join(Map& into, Map& from, CornerPoint by) {
    enter(into);
    const Rectangle moved = from.extent.moved(by);
    if (!makeRoom(into, moved)) return false;
    const Region target = regionOf(moved, into.origin);
    copyWhereEmpty(from.state.mosaic, regionOf(from.extent, from.origin), engine_.mosaic,
                   {target.colStart, target.rowStart});
    extendBounds(engine_.mosaic, target);
    into.extent = united(into.extent, moved);
    into.frames += from.frames;
    into.templateFrame = -1;  // its empty pixels may hold something now
    for (FrameEntry& entry : frames_) {
        if (entry.map != from.number) continue;
        entry.map = into.number;
        entry.at = {entry.at.x + by.x, entry.at.y + by.y};
    }
    from.joinedInto = into.number;
    from.joinedBy = by;
    from.extent = {};
    from.frames = 0;
    from.templateFrame = -1;
    from.state = CpuMapState{};
    return true;
}

void Maps::read(const Map& map, const ReadRequest& request) const {
    readPart(mosaicOf(map), map.origin, request);
}

}  // namespace brantel::session
