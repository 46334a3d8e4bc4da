#include "frames/raw_input.h"

#include "system/files.h"
#include "system/stop.h"

namespace brantel::programs {

RawInput::RawInput(const RawFormat& format) : format_(format) {
    if (isTerminal(stdin))
        throw InputError(
            "--raw reads frames from standard input, which is a terminal here; pipe them into it");
}

bool RawInput::next(Frame& frame) {
    cv::Mat image(format_.height, format_.width, format_.channels == 3 ? CV_8UC3 : CV_8UC1);
    const std::size_t wanted = image.total() * image.elemSize();
    std::size_t have = 0;
    while (have < wanted) {
        if (stopRequested()) return false;
        const std::ptrdiff_t count = input_.readSome(image.data + have, wanted - have);
        if (count < 0) break;
        have += static_cast<std::size_t>(count);
    }
    if (have < wanted) {
        if (have > 0)
            remark_ = "standard input ended within a frame, after " + std::to_string(have) + " of its " +
                      std::to_string(wanted) + " bytes; is --raw the size of the frames?";
        return false;
    }
    frame = {};
    frame.index = index_++;
    frame.origin.page = index_;
    frame.name = "input#" + std::to_string(index_);
    frame.image = image;
    return true;
}

}  // namespace brantel::programs
