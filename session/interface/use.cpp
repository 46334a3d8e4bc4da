// Adding frames, asking about them and reading maps.
#include <cmath>
#include <cstdlib>

#include "interface/call.h"
#include "interface/structs.h"

namespace brantel::session {

namespace {

constexpr double farthest = 1e9;               // of positions
constexpr std::int32_t longestSide = 1000000;  // of a rectangle that is read
constexpr std::int32_t largestReduction = 1024;

/// NaN lies nowhere.
bool lies(double value, double low, double high) {
    return low <= value && value <= high;
}

bool isStride(std::int64_t stride, std::int64_t rowBytes) {
    return stride >= rowBytes || stride <= -rowBytes;
}

brantel_status takeInput(const brantel_input* given, const brantel_settings& settings, HostFrame& frame) {
    brantel_input input{};
    if (given != nullptr && (given->size < inputSize || !takeStruct(*given, input)))
        return BRANTEL_BAD_STRUCT_SIZE;
    frame.tag = input.tag;
    frame.stride = input.stride != 0 ? input.stride : settings.stride;
    if (!isStride(frame.stride, std::int64_t{settings.columns} * settings.channels))
        return BRANTEL_BAD_STRIDE;
    if (input.has_position == 0) return BRANTEL_OK;
    if (!lies(input.x, -farthest, farthest) || !lies(input.y, -farthest, farthest) ||
        !lies(input.uncertainty, 0, farthest))
        return BRANTEL_BAD_POSITION;
    frame.given = GivenPosition{input.x, input.y, input.uncertainty};
    return BRANTEL_OK;
}

void fillAnswer(const Session& session, const Changes& changes, brantel_answer& answer) {
    const FrameEntry& entry = session.frames().back();
    const Rectangle changed = changes.in(entry.map);
    brantel_answer full{};
    full.changes = changes.bits;
    full.frame = static_cast<std::int64_t>(session.frames().size()) - 1;
    full.state = entry.state;
    full.reason = entry.reason;
    full.found_by = entry.foundBy;
    full.map = entry.map;
    full.x = entry.at.x;
    full.y = entry.at.y;
    full.matches = entry.matches;
    full.placed_now = changes.placed;
    full.confidence = entry.confidence;
    full.changed_x = changed.x;
    full.changed_y = changed.y;
    full.changed_width = changed.width;
    full.changed_height = changed.height;
    giveStruct(full, answer);
}

brantel_status add(brantel_session& held, const void* pixels, const brantel_input* input,
                   brantel_answer* answer) {
    if (pixels == nullptr) return refuse(held, BRANTEL_NULL_ARGUMENT);
    if (answer != nullptr && answer->size < answerSize) return refuse(held, BRANTEL_BAD_STRUCT_SIZE);
    HostFrame frame;
    frame.pixels = static_cast<const std::uint8_t*>(pixels);
    const brantel_status status = takeInput(input, held.session.settings(), frame);
    if (status != BRANTEL_OK) return refuse(held, status);
    const Changes changes = held.session.add(frame);
    if (answer != nullptr) fillAnswer(held.session, changes, *answer);
    return BRANTEL_OK;
}

void fillFrame(const FrameEntry& entry, brantel_frame& frame) {
    brantel_frame full{};
    full.state = entry.state;
    full.reason = entry.reason;
    full.found_by = entry.foundBy;
    full.map = entry.map;
    full.x = entry.at.x;
    full.y = entry.at.y;
    full.matches = entry.matches;
    full.confidence = entry.confidence;
    full.tag = entry.tag;
    full.joins = entry.joins;
    giveStruct(full, frame);
}

void fillMap(const Maps& maps, const Map& map, brantel_map& target) {
    const Mosaic& mosaic = maps.mosaicOf(map);
    brantel_map full{};
    full.joined_into = map.joinedInto;
    full.joined_x = map.joinedBy.x;
    full.joined_y = map.joinedBy.y;
    full.x = map.extent.x;
    full.y = map.extent.y;
    full.width = map.extent.width;
    full.height = map.extent.height;
    full.frames = map.frames;
    full.canvas_columns = mosaic.canvas.cols;
    full.canvas_rows = mosaic.canvas.rows;
    giveStruct(full, target);
}

bool isMap(const Maps& maps, std::int32_t number) {
    return number >= 1 && number <= maps.count();
}

bool isReduction(std::int32_t reduction) {
    return reduction >= 1 && reduction <= largestReduction && (reduction & (reduction - 1)) == 0;
}

/// The coordinates of a map that was joined into another one are moved along.
void readFrom(const Maps& maps, std::int32_t number, ReadRequest request) {
    const Map* map = &maps.at(number);
    std::int64_t x = request.x;
    std::int64_t y = request.y;
    for (; map->joinedInto != 0; map = &maps.at(map->joinedInto)) {
        x += map->joinedBy.x;
        y += map->joinedBy.y;
    }
    request.x = x;
    request.y = y;
    maps.read(*map, request);
}

brantel_status read(brantel_session& held, std::int32_t number, ReadRequest request) {
    const Maps& maps = held.session.maps();
    if (request.pixels == nullptr) return refuse(held, BRANTEL_NULL_ARGUMENT);
    if (!isMap(maps, number)) return refuse(held, BRANTEL_NO_SUCH_MAP);
    if (request.columns < 1 || request.rows < 1 || request.columns > longestSide ||
        request.rows > longestSide)
        return refuse(held, BRANTEL_BAD_RECTANGLE);
    if (!isReduction(request.reduction)) return refuse(held, BRANTEL_BAD_REDUCTION);
    const std::int64_t rowBytes = std::int64_t{request.columns} * held.session.settings().channels;
    if (request.stride == 0) request.stride = rowBytes;
    if (!isStride(request.stride, rowBytes)) return refuse(held, BRANTEL_BAD_STRIDE);
    readFrom(maps, number, request);
    return BRANTEL_OK;
}

}  // namespace

}  // namespace brantel::session

using brantel::session::callOn;
using brantel::session::refuse;

extern "C" {

brantel_status brantel_session_add(brantel_session* session, const void* pixels, const brantel_input* input,
                                   brantel_answer* answer) {
    return callOn(session,
                  [&](brantel_session& held) { return brantel::session::add(held, pixels, input, answer); });
}

brantel_status brantel_session_begin_map(brantel_session* session) {
    return callOn(session, [](brantel_session& held) {
        held.session.beginMap();
        return BRANTEL_OK;
    });
}

int64_t brantel_session_frame_count(const brantel_session* session) {
    std::int64_t count = 0;
    callOn(session, [&](brantel_session& held) {
        count = static_cast<std::int64_t>(held.session.frames().size());
        return BRANTEL_OK;
    });
    return count;
}

int32_t brantel_session_map_count(const brantel_session* session) {
    std::int32_t count = 0;
    callOn(session, [&](brantel_session& held) {
        count = held.session.maps().count();
        return BRANTEL_OK;
    });
    return count;
}

brantel_status brantel_session_frame(const brantel_session* session, int64_t index, brantel_frame* frame) {
    return callOn(session, [&](brantel_session& held) -> brantel_status {
        if (frame == nullptr) return refuse(held, BRANTEL_NULL_ARGUMENT);
        if (frame->size < brantel::session::frameSize) return refuse(held, BRANTEL_BAD_STRUCT_SIZE);
        const brantel::session::FrameList& frames = held.session.frames();
        if (index < 0 || static_cast<std::uint64_t>(index) >= frames.size())
            return refuse(held, BRANTEL_NO_SUCH_FRAME);
        brantel::session::fillFrame(frames[static_cast<std::size_t>(index)], *frame);
        return BRANTEL_OK;
    });
}

brantel_status brantel_session_map(const brantel_session* session, int32_t number, brantel_map* map) {
    return callOn(session, [&](brantel_session& held) -> brantel_status {
        if (map == nullptr) return refuse(held, BRANTEL_NULL_ARGUMENT);
        if (map->size < brantel::session::mapSize) return refuse(held, BRANTEL_BAD_STRUCT_SIZE);
        const brantel::session::Maps& maps = held.session.maps();
        if (!brantel::session::isMap(maps, number)) return refuse(held, BRANTEL_NO_SUCH_MAP);
        brantel::session::fillMap(maps, maps.at(number), *map);
        return BRANTEL_OK;
    });
}

brantel_status brantel_session_read(const brantel_session* session, int32_t number, int32_t x, int32_t y,
                                    int32_t width, int32_t height, int32_t reduction, void* pixels,
                                    int64_t stride) {
    return callOn(session, [&](brantel_session& held) {
        return brantel::session::read(
            held, number, {x, y, width, height, reduction, static_cast<std::uint8_t*>(pixels), stride});
    });
}

const char* brantel_session_error(const brantel_session* session) {
    return session == nullptr ? "the session is null" : session->error.data();
}
}
