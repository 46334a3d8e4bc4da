// A session of the C interface for tests: opened, used and closed in a few words.
#pragma once

#include <brantel/session.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "support/picture.h"

namespace brantel::test {

/// The default settings for frames of one kind.
inline brantel_settings settingsFor(std::int32_t rows, std::int32_t columns, std::int32_t channels = 1) {
    brantel_settings settings{};
    settings.size = sizeof settings;
    EXPECT_EQ(brantel_default_settings(&settings), BRANTEL_OK);
    settings.rows = rows;
    settings.columns = columns;
    settings.channels = channels;
    return settings;
}

inline brantel_input nothingKnown() {
    brantel_input input{};
    input.size = sizeof input;
    return input;
}

inline brantel_input at(double x, double y, double uncertainty = 0) {
    brantel_input input = nothingKnown();
    input.has_position = 1;
    input.x = x;
    input.y = y;
    input.uncertainty = uncertainty;
    return input;
}

class Opened {
  public:
    explicit Opened(const brantel_settings& settings) : settings_(settings) {
        EXPECT_EQ(brantel_session_open(&settings, &session_), BRANTEL_OK);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { brantel_session_close(session_); }

    brantel_session* get() const { return session_; }

    brantel_answer add(const std::vector<std::uint8_t>& frame, const brantel_input& input = nothingKnown()) {
        brantel_answer answer{};
        answer.size = sizeof answer;
        EXPECT_EQ(brantel_session_add(session_, frame.data(), &input, &answer), BRANTEL_OK)
            << brantel_session_error(session_);
        return answer;
    }

    brantel_frame frame(std::int64_t index) const {
        brantel_frame frame{};
        frame.size = sizeof frame;
        EXPECT_EQ(brantel_session_frame(session_, index, &frame), BRANTEL_OK);
        return frame;
    }

    brantel_map map(std::int32_t number) const {
        brantel_map map{};
        map.size = sizeof map;
        EXPECT_EQ(brantel_session_map(session_, number, &map), BRANTEL_OK);
        return map;
    }

    /// A part of a map, packed.
    std::vector<std::uint8_t> read(std::int32_t number, std::int32_t x, std::int32_t y, std::int32_t width,
                                   std::int32_t height, std::int32_t reduction = 1) const {
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                         static_cast<std::size_t>(settings_.channels));
        EXPECT_EQ(brantel_session_read(session_, number, x, y, width, height, reduction, pixels.data(), 0),
                  BRANTEL_OK);
        return pixels;
    }
    /// All of a map.
    std::vector<std::uint8_t> picture(std::int32_t number) const {
        const brantel_map all = map(number);
        return read(number, all.x, all.y, all.width, all.height);
    }

  private:
    brantel_settings settings_;
    brantel_session* session_ = nullptr;
};

}  // namespace brantel::test
