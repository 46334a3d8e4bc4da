#include "frames/in_channels.h"

namespace brantel::programs {

namespace {

class InChannels : public FrameSource {
  public:
    InChannels(std::unique_ptr<FrameSource> source, Channels channels)
        : source_(std::move(source)), channels_(channels) {}

    bool next(Frame& frame) override {
        if (!source_->next(frame)) return false;
        frame.image = withChannels(frame.image, channels_);
        return true;
    }

    std::size_t count() const override { return source_->count(); }
    std::size_t dropped() const override { return source_->dropped(); }
    std::string remark() const override { return source_->remark(); }

  private:
    std::unique_ptr<FrameSource> source_;
    Channels channels_;
};

}  // namespace

std::unique_ptr<FrameSource> inChannels(std::unique_ptr<FrameSource> source, Channels channels) {
    return std::make_unique<InChannels>(std::move(source), channels);
}

}  // namespace brantel::programs
