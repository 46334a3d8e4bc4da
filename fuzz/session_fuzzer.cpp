// Whole lives of sessions out of fuzzer bytes: any order of the calls, any numbers, any pixels. Only what the interface
// promises is kept: memory behind a pointer is as large as size, stride and rows say.
#include <brantel/session.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "texture.h"

namespace {

constexpr std::int32_t longestSide = 100;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

std::int32_t anyNumber(FuzzedDataProvider& data, std::int32_t low, std::int32_t high) {
    return data.ConsumeIntegralInRange<int>(0, 11) == 0 ? data.ConsumeIntegral<std::int32_t>()
                                                        : data.ConsumeIntegralInRange(low, high);
}

double anyPosition(FuzzedDataProvider& data) {
    return data.ConsumeIntegralInRange<int>(0, 11) == 0 ? data.ConsumeFloatingPoint<double>()
                                                        : data.ConsumeIntegralInRange(-400, 400) / 4.0;
}

brantel_settings anySettings(FuzzedDataProvider& data) {
    brantel_settings settings{};
    settings.size = sizeof settings;
    require(brantel_default_settings(&settings) == BRANTEL_OK, "defaults");
    settings.columns = data.ConsumeIntegralInRange(-1, longestSide);
    settings.rows = data.ConsumeIntegralInRange(-1, longestSide);
    settings.channels = data.PickValueInArray({1, 3, 1, 3, 2});
    settings.density_level = data.ConsumeIntegralInRange(-10, 6);
    settings.acceptance = data.ConsumeIntegralInRange(0, 2);
    settings.strict = data.ConsumeIntegralInRange(0, 1);
    settings.correlation = data.ConsumeIntegralInRange(0, 3);
    settings.trust_correlation = data.ConsumeIntegralInRange(0, 1);
    settings.small_overlaps = data.ConsumeIntegralInRange(0, 1);
    settings.earlier_frames = data.ConsumeIntegralInRange(-1, 8);
    settings.waiting_frames = data.ConsumeIntegralInRange(-1, 6);
    settings.join_maps = data.ConsumeIntegralInRange(0, 1);
    settings.trust_positions = data.ConsumeIntegralInRange(0, 1);
    settings.memory = data.ConsumeIntegralInRange<std::int64_t>(-1, std::int64_t{8} << 20);
    return settings;
}

class Life {
  public:
    explicit Life(FuzzedDataProvider& data) : data_(data), settings_(anySettings(data)) {
        const brantel_status status = brantel_session_open(&settings_, &session_);
        require((status == BRANTEL_OK) == (session_ != nullptr), "open");
    }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() { brantel_session_close(session_); }

    void run() {
        for (int calls = 0; session_ != nullptr && calls < 12 && data_.remaining_bytes() > 0; ++calls) {
            switch (data_.ConsumeIntegralInRange<int>(0, 9)) {
                case 0:
                    brantel_session_begin_map(session_);
                    break;
                case 1:
                    read();
                    break;
                case 2:
                    ask();
                    break;
                default:
                    add();
            }
        }
    }

  private:
    void add() {
        const std::int64_t stride =
            std::int64_t{settings_.columns} * settings_.channels + data_.ConsumeIntegralInRange(0, 3);
        x_ += data_.ConsumeIntegralInRange(-settings_.columns, settings_.columns);
        y_ += data_.ConsumeIntegralInRange(-settings_.rows, settings_.rows) / 4;
        std::vector<std::uint8_t> pixels(static_cast<std::size_t>(stride * settings_.rows));
        const bool blank = data_.ConsumeIntegralInRange(0, 7) == 0;
        for (std::int64_t r = 0; r < settings_.rows && !blank; ++r)
            brantel::fuzz::textureRow(x_, y_ + r, settings_.columns, settings_.channels,
                                      pixels.data() + r * stride);
        const std::vector<std::uint8_t> before = pixels;
        const bool bottomUp = data_.ConsumeBool();
        brantel_input input{sizeof input,       data_.ConsumeBool(), bottomUp ? -stride : stride, calls_,
                            anyPosition(data_), anyPosition(data_),  anyPosition(data_)};
        brantel_answer answer{};
        answer.size = sizeof answer;
        const std::int64_t count = brantel_session_frame_count(session_);
        const brantel_status status = brantel_session_add(
            session_, pixels.data() + (bottomUp ? (settings_.rows - 1) * stride : 0), &input, &answer);
        require(status == BRANTEL_OK || status == BRANTEL_BAD_POSITION, "add");
        require(pixels == before, "a frame was written to");
        require(brantel_session_frame_count(session_) == count + (status == BRANTEL_OK ? 1 : 0),
                "frame count");
        if (status == BRANTEL_OK) {
            require(answer.frame == count && answer.confidence >= 0 && answer.confidence <= 1, "answer");
        }
        ++calls_;
    }

    void read() {
        const std::int32_t width = data_.ConsumeIntegralInRange(-1, 60);
        const std::int32_t height = data_.ConsumeIntegralInRange(-1, 60);
        std::vector<std::uint8_t> pixels(std::size_t{60} * 60 * 3);
        brantel_session_read(session_, anyNumber(data_, 0, 4), anyNumber(data_, -300, 300),
                             anyNumber(data_, -300, 300), width, height, anyNumber(data_, 0, 9),
                             pixels.data(), 0);
    }

    void ask() {
        brantel_frame frame{};
        frame.size = sizeof frame;
        brantel_session_frame(session_, anyNumber(data_, -1, 30), &frame);
        brantel_map map{};
        map.size = sizeof map;
        if (brantel_session_map(session_, anyNumber(data_, -1, 6), &map) == BRANTEL_OK) {
            require(map.joined_into == 0 ? map.frames > 0 : map.frames == 0, "frames of a map");
        }
    }

    FuzzedDataProvider& data_;
    const brantel_settings settings_;
    brantel_session* session_ = nullptr;
    std::int64_t x_ = 1000000;
    std::int64_t y_ = 1000000;
    std::int64_t calls_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    Life(data).run();
    return 0;
}
