#include "support/camera_path.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace brantel::test {

Path straightPath(Spot from, std::int32_t dx, std::int32_t dy, std::int32_t count) {
    Path path;
    for (std::int32_t i = 0; i <= count; ++i) path.push_back({from.x + i * dx, from.y + i * dy});
    return path;
}

Path serpentinePath(Spot from, std::int32_t dx, std::int32_t dy, std::int32_t across, std::int32_t down) {
    Path path{from};
    for (std::int32_t line = 0; line <= down; ++line) {
        if (line > 0) path.push_back({path.back().x, path.back().y + dy});
        for (std::int32_t i = 0; i < across; ++i)
            path.push_back({path.back().x + (line % 2 == 0 ? dx : -dx), path.back().y});
    }
    return path;
}

Path spiralPath(Spot from, std::int32_t step, std::int32_t sides) {
    constexpr Spot directions[4] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    Path path{from};
    for (std::int32_t side = 0; side < sides; ++side)
        for (std::int32_t i = 0; i < side / 2 + 1; ++i)
            path.push_back({path.back().x + step * directions[side % 4].x,
                            path.back().y + step * directions[side % 4].y});
    return path;
}

Path randomPath(Spot from, Spot low, Spot high, std::int32_t minimum, std::int32_t maximum,
                std::int32_t count, std::uint64_t seed) {
    Random random(seed);
    Path path{from};
    while (static_cast<std::int32_t>(path.size()) <= count) {
        std::int32_t dx = random.between(-maximum, maximum) / 2 * 2;
        std::int32_t dy = random.between(-maximum, maximum) / 2 * 2;
        if (std::max(std::abs(dx), std::abs(dy)) < minimum) continue;
        const Spot to{path.back().x + dx, path.back().y + dy};
        if (to.x < low.x || to.x > high.x || to.y < low.y || to.y > high.y) continue;
        path.push_back(to);
    }
    return path;
}

std::string FollowReport::summary() const {
    std::ostringstream text;
    text << placed << " placed, " << refused << " refused, " << skipped << " skipped, " << wrong
         << " wrong, worst error " << worstError << ", worst drift " << worstDrift;
    return text.str();
}

namespace {

/// Keeps the place of the path's first frame while the canvas grows on its left or at its top.
class Tracker {
  public:
    explicit Tracker(FollowReport& report) : report_(report) {}

    /// The call that started the mosaic; its canvas may have grown already.
    void begin(const StitchOutputs& out, std::int32_t rows, std::int32_t cols, Spot fromFirst) {
        canvasRows_ = newSide(rows);
        canvasCols_ = newSide(cols);
        before_.frameX = canvasCols_ / 2 - cols / 2;
        before_.frameY = canvasRows_ / 2 - rows / 2;
        report_.origin = {before_.frameX, before_.frameY};
        report_.placed = 1;
        report_.placedFrames = {0};
        add(out, fromFirst, 1);
    }

    /// fromFirst: the frame's true position against the path's first one.
    void add(const StitchOutputs& out, Spot fromFirst, std::size_t number) {
        const StitchFlags& was = before_;
        const StitchFlags& now = out.flags;
        if (was.frameX + now.offset.x < 1) report_.origin.x += out.mosaic.cols - canvasCols_;
        if (was.frameY + now.offset.y < 1) report_.origin.y += out.mosaic.rows - canvasRows_;
        if (out.result == -1) {
            ++report_.refused;
        } else if (was.frameX == now.frameX && was.frameY == now.frameY) {
            ++report_.skipped;
        } else {
            place(now, fromFirst, number);
        }
        canvasRows_ = out.mosaic.rows;
        canvasCols_ = out.mosaic.cols;
        before_ = out.flags;
        report_.last = out;
    }

  private:
    void place(const StitchFlags& now, Spot fromFirst, std::size_t number) {
        const Spot error{now.frameX - report_.origin.x - fromFirst.x,
                         now.frameY - report_.origin.y - fromFirst.y};
        const int step = std::max(std::abs(error.x - lastError_.x), std::abs(error.y - lastError_.y));
        lastError_ = error;
        ++report_.placed;
        report_.placedFrames.push_back(number);
        report_.worstError = std::max(report_.worstError, step);
        report_.worstDrift = std::max({report_.worstDrift, std::abs(error.x), std::abs(error.y)});
        if (step > 2) ++report_.wrong;
    }

    static std::int32_t newSide(std::int32_t frameSide) { return frameSide > 6000 ? frameSide + 2000 : 6000; }

    FollowReport& report_;
    StitchFlags before_{};
    Spot lastError_{};
    std::int32_t canvasRows_ = 0;
    std::int32_t canvasCols_ = 0;
};

}  // namespace

FollowReport follow(Session& session, const Picture& picture, const Path& path, std::int32_t rows,
                    std::int32_t cols, const Disturb& disturb) {
    FollowReport report;
    Tracker tracker(report);
    std::vector<std::uint8_t> first;
    for (std::size_t i = 0; i < path.size(); ++i) {
        std::vector<std::uint8_t> frame = picture.window(path[i].x, path[i].y, rows, cols);
        if (disturb) disturb(frame, i);
        if (i == 0) {
            first = frame;
            continue;
        }
        const StitchOutputs out = i == 1 ? session.start(first, frame) : session.next(frame);
        const Spot fromFirst{path[i].x - path[0].x, path[i].y - path[0].y};
        if (i == 1) {
            tracker.begin(out, rows, cols, fromFirst);
        } else {
            tracker.add(out, fromFirst, i);
        }
    }
    return report;
}

}  // namespace brantel::test
