#include "render/file_frames.h"

#include <opencv2/core.hpp>

#include "pictures/picture_bytes.h"
#include "system/out_of_memory.h"

namespace brantel::programs {

namespace {

constexpr std::int32_t brightest = 65535;  // of 16 bits

std::string formatText(std::int32_t depth, std::int32_t channels) {
    const char* const depths[] = {"8-bit",  "signed 8-bit", "16-bit", "signed 16-bit",
                                  "32-bit", "float",        "double"};
    return std::string(channels == 1 ? "grey" : "colour") + ", " +
           (depth <= CV_64F ? depths[depth] : "float");
}

}  // namespace

bool FileFrames::settle(const std::vector<std::size_t>& wanted) {
    for (const std::size_t frame : wanted) {
        const cv::Mat samples = readStored(frame).samples;
        if (samples.empty()) continue;
        size_ = samples.size();
        depth_ = samples.depth();
        if (channels_ == Channels::asStored)
            channels_ = samples.channels() == 1 ? Channels::grey : Channels::colour;
        type_ = CV_MAKETYPE(depth_ == CV_8U ? CV_8U : CV_16U, channels_ == Channels::grey ? 1 : 3);
        Tones tones(RangeSetting{});
        if (!range_ && tones.wantsExamples(samples)) {
            tones.learnFrom({samples});
            range_ = tones.apply(samples).range;
        }
        return true;
    }
    return false;
}

Stored FileFrames::readStored(std::size_t frame) {
    const FrameFile& file = files_[frame];
    std::unique_ptr<StoredFile> open = open_.take(file.path);
    Stored stored = open->read(file.page - 1, channels_);
    open_.giveBack(file.path, std::move(open));
    return stored;
}

cv::Mat FileFrames::inFormat(const cv::Mat& stored) const {
    try {
        return withChannels(areConverted() ? deepened(stored, *range_) : stored, channels_);
    } catch (const cv::Exception& error) {
        if (isOutOfMemory(error)) throw std::bad_alloc();
        throw;
    }
}

cv::Mat FileFrames::read(std::size_t frame) {
    const Stored stored = readStored(frame);
    if (stored.samples.empty()) {
        noteProblem(frame, stored.problem);
        return {};
    }
    if (stored.samples.size() != size_ || stored.samples.depth() != depth_) {
        noteProblem(frame, "it has " + sizeText(stored.samples.size()) + " pixels (" +
                               formatText(stored.samples.depth(), stored.samples.channels()) +
                               "), the first frame " + sizeText(size_) + " (" +
                               formatText(depth_, CV_MAT_CN(type_)) + ")");
        return {};
    }
    return inFormat(stored.samples);
}

cv::Mat FileFrames::grey(std::size_t /*frame*/, const cv::Mat& samples) const {
    RangeSetting setting;
    setting.kind = RangeSetting::Kind::given;
    setting.range = areConverted() ? Range{1, brightest} : range_.value_or(Range{});
    const cv::Mat toned = range_ || areConverted() ? Tones(setting).apply(samples).picture : samples;
    return withChannels(toned, Channels::grey);
}

void FileFrames::noteProblem(std::size_t frame, const std::string& problem) {
    const std::lock_guard<std::mutex> lock(mutex_);
    problems_.emplace(frame, problem);
}

std::map<std::size_t, std::string> FileFrames::problems() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return problems_;
}

}  // namespace brantel::programs
