#include "support/session.h"

namespace brantel::test {

Session::Session(const SessionOptions& options) : entries_(options.entries) {
    if (options.forceCpu) {
        directory_ = std::make_unique<ScratchDirectory>();
        directory_->write("stitch.txt", "1");
    }
    ready_ = entries_.init(options.rows, options.cols, options.channels, options.densityLevel, options.limitA,
                           options.limitB, options.mainMode, options.staticFlag);
}

void Session::close() {
    if (open_) entries_.uninit();
    open_ = false;
}

StitchOutputs Session::start(Frame& first, const Frame& second) {
    return call(first.data(), second, 0);
}

StitchOutputs Session::next(const Frame& frame) {
    return call(nullptr, frame, 1);
}

void Session::expect(std::int32_t x, std::int32_t y) {
    expectedX_ = x;
    expectedY_ = y;
    useExpected_ = true;
}

StitchOutputs Session::call(std::uint8_t* first, const Frame& current, std::int32_t continueFlag) {
    StitchOutputs out;
    // The library only reads the current frame; its interface is older than const. An empty one is null.
    auto* frame = current.empty() ? nullptr : const_cast<std::uint8_t*>(current.data());
    out.result = entries_.stitch(first, frame, continueFlag, scale_, expectedX_, expectedY_, useExpected_,
                                 &out.minCorner, &out.maxCorner, &out.mosaic, &out.flags);
    return out;
}

}  // namespace brantel::test
