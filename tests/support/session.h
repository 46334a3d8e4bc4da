// A host of the library in a few lines: the three exported functions between construction and destruction.
#pragma once

#include <brantel/brantel.h>

#include <functional>
#include <memory>
#include <vector>

#include "support/scratch_directory.h"

namespace brantel::test {

/// The three functions of the interface, or what stands for them.
struct Entries {
    std::function<decltype(initJoint)> init = initJoint;
    std::function<decltype(stichingImagedJoint)> stitch = stichingImagedJoint;
    std::function<decltype(uinitJoint)> uninit = uinitJoint;
};

struct SessionOptions {
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    std::int32_t channels = 1;
    std::int32_t mainMode = 1;    // 0: brightness test, else motion test
    std::int32_t staticFlag = 0;  // nonzero: the strict thresholds
    std::int32_t densityLevel = 1;
    std::int32_t limitA = 20000;
    std::int32_t limitB = 20000;
    bool forceCpu = true;  // by a "stitch.txt" in a scratch directory that is current meanwhile
    Entries entries{};
};

/// Everything a stitch call gives back.
struct StitchOutputs {
    std::int32_t result = -2;
    MosaicCorner minCorner{};
    MosaicCorner maxCorner{};
    cv::Mat mosaic;  // shared with the library: clone it to keep it
    StitchFlags flags{};
};

using Frame = std::vector<std::uint8_t>;

class Session {
  public:
    explicit Session(const SessionOptions& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() { close(); }

    bool ready() const { return ready_; }
    /// Tears down, once.
    void close();

    /// Starts a mosaic with first and stitches second to it. first is taken by reference: the library changes
    /// its zero samples.
    StitchOutputs start(Frame& first, const Frame& second);
    StitchOutputs next(const Frame& frame);
    /// From now on calls carry this expected shift (arguments 5 to 7).
    void expect(std::int32_t x, std::int32_t y);
    void expectNothing() { useExpected_ = false; }
    void setScale(std::int32_t scale) { scale_ = scale; }

  private:
    StitchOutputs call(std::uint8_t* first, const Frame& current, std::int32_t continueFlag);

    std::unique_ptr<ScratchDirectory> directory_;
    Entries entries_;
    bool ready_ = false;
    bool open_ = true;
    std::int32_t scale_ = 1;
    std::int32_t expectedX_ = 0;
    std::int32_t expectedY_ = 0;
    bool useExpected_ = false;
};

}  // namespace brantel::test
