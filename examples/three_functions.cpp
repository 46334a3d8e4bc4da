// The three functions of brantel.h: joins picture files of one size and writes mosaic.png.
// Reading and writing the files needs OpenCV's imgcodecs beside what the library needs:
// c++ -std=c++17 three_functions.cpp $(pkg-config --cflags --libs brantel) -lopencv_imgcodecs
#include <brantel/brantel.h>

#include <cstdio>
#include <opencv2/imgcodecs.hpp>

namespace {
MosaicCorner from{}, to{};
StitchFlags flags{};
cv::Mat mosaic;

/// Joins a frame and says what came of it, on standard error: the library's own lines go to standard output. False while
/// the mosaic has to be begun again.
bool join(const char* name, const cv::Mat& first, const cv::Mat& frame, bool begun) {
    const int result =
        stichingImagedJoint(first.data, frame.data, begun, 1, 0, 0, false, &from, &to, &mosaic, &flags);
    if (result < 0)
        std::fprintf(stderr, "%s: no shift was found\n", name);
    else if (flags.stitch_flags == 0)
        std::fprintf(stderr, "%s: refused for its brightness\n", name);
    else
        std::fprintf(stderr, "%s: shifted by %d, %d\n", name, flags.offset.x, flags.offset.y);
    return begun || (result >= 0 && flags.stitch_flags == 1);
}
}  // namespace

int main(int count, char** names) {
    cv::Mat first = count > 2 ? cv::imread(names[1]) : cv::Mat();
    if (first.empty()) {
        std::fprintf(stderr, "give two pictures or more\n");
        return 1;
    }
    if (!initJoint(first.rows, first.cols, first.channels(), 8, 20000, 20000, 0, 0)) return 1;
    bool begun = false;
    for (int i = 2; i < count; ++i) {
        const cv::Mat frame = cv::imread(names[i]);
        if (frame.size() != first.size() || frame.type() != first.type()) {
            std::fprintf(stderr, "%s: not a picture of the first one's size\n", names[i]);
            continue;
        }
        begun = join(names[i], first, frame, begun);
        if (!begun) {  // nothing can be joined to this beginning: the newer frame is the next one
            std::fprintf(stderr, "begun again with %s\n", names[i]);
            first = frame;
        }
    }
    uinitJoint();  // the canvas stays readable
    if (!begun) {
        std::fprintf(stderr, "no two pictures could be joined\n");
        return 1;
    }
    return cv::imwrite("mosaic.png", mosaic(cv::Rect(cv::Point(from.x, from.y), cv::Point(to.x, to.y)))) ? 0
                                                                                                         : 1;
}
