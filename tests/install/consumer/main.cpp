// The smallest host: two frames out of one picture, 120 columns apart.
#include <brantel/brantel.h>

#include <cstdio>
#include <opencv2/core.hpp>

int main() {
    cv::Mat picture(25, 45, CV_8UC1), canvas;
    cv::randu(picture, 1, 256);
    cv::Mat scene(200, 360, CV_8UC1);
    for (int r = 0; r < scene.rows; ++r)
        for (int x = 0; x < scene.cols; ++x) scene.at<uchar>(r, x) = picture.at<uchar>(r / 8, x / 8);
    cv::Mat first = scene.colRange(0, 240).clone(), second = scene.colRange(120, 360).clone();

    if (!initJoint(200, 240, 1, 8, 20000, 20000, 1, 0)) return 1;
    StitchFlags flags{};
    const int result =
        stichingImagedJoint(first.data, second.data, 0, 1, 0, 0, false, nullptr, nullptr, &canvas, &flags);
    uinitJoint();
    std::fprintf(stderr, "result %d, offset %d %d, canvas %d x %d\n", result, flags.offset.x, flags.offset.y,
                 canvas.cols, canvas.rows);
    return result == 0 && flags.offset.x == 120 && flags.offset.y == 0 && !canvas.empty() ? 0 : 1;
}
