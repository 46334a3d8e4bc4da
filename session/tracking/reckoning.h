// Where the next frame is believed to lie.
#pragma once

#include <cmath>

#include "maps/map.h"

namespace brantel::session {

inline PlanePoint operator+(const PlanePoint& a, const PlanePoint& b) {
    return {a.x + b.x, a.y + b.y};
}
inline PlanePoint operator-(const PlanePoint& a, const PlanePoint& b) {
    return {a.x - b.x, a.y - b.y};
}

inline double distance(const PlanePoint& a, const PlanePoint& b) {
    const PlanePoint apart = a - b;
    return std::sqrt(apart.x * apart.x + apart.y * apart.y);
}

/// Follows the camera over the plane: it is believed to go on as it did, also while frames are lost.
class Reckoning {
  public:
    /// The place of the frame that comes next, if the camera goes on.
    PlanePoint predicted() const { return last_ + step_; }
    /// The last frame's place: the camera may have stopped or turned.
    PlanePoint last() const { return last_; }
    /// The place if the camera does again what surprised last, as at the end of a row.
    PlanePoint surprising() const { return last_ + surprise_; }

    void begin(const PlanePoint& at) {
        last_ = known_ = at;
        step_ = surprise_ = {};
        surprised_ = moving_ = false;
        since_ = 1;
    }
    /// The next frame was found there. More than farOff away from the prediction it is a surprise, which changes the
    /// camera's habit only if the next frame is one, too: a row has ended.
    void found(const PlanePoint& at, double farOff) {
        const PlanePoint moved = at - known_;
        const bool surprise = moving_ && !surprised_ && distance(at, predicted()) > farOff;
        if (surprise) {
            surprise_ = moved;
        } else {
            step_ = {moved.x / since_, moved.y / since_};
        }
        surprised_ = surprise;
        moving_ = true;
        last_ = known_ = at;
        since_ = 1;
    }
    /// The next frame was not found.
    void lost(const PlanePoint& at) {
        last_ = at;
        ++since_;
    }
    /// The frame found last lies elsewhere, since its map has moved.
    void moveTo(const PlanePoint& at) { last_ = known_ = at; }

  private:
    PlanePoint last_;
    PlanePoint known_;
    PlanePoint step_;
    PlanePoint surprise_;
    bool moving_ = false;     // there is a habit
    bool surprised_ = false;  // by the last frame found
    double since_ = 1;        // frames since the last known place
};

}  // namespace brantel::session
