// A small scan for the examples and what they should make of it.
//   example_scan write FOLDER      frames (frame_1.pgm ... and all of them in frames.raw), a smaller one, one of another picture,
//                                  the whole picture (mosaic.pgm), and what hosts print (places.txt,
//                                  readme.txt, shifts.txt)
//   example_scan compare A B       fails unless both pictures have the same size and differ by 4 grey levels at most
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <string>

#include "pictures/image_io.h"
#include "scan/generated_picture.h"
#include "scan/scan.h"

namespace {

namespace fs = std::filesystem;

void writeRows(std::ofstream& file, const cv::Mat& picture) {
    for (int y = 0; y < picture.rows; ++y) file.write(picture.ptr<char>(y), picture.cols);
}

void writePgm(const fs::path& path, const cv::Mat& picture) {
    std::ofstream file(path, std::ios::binary);
    file << "P5 " << picture.cols << ' ' << picture.rows << " 255\n";
    writeRows(file, picture);
}

cv::Mat greyPicture(cv::Size size, std::uint32_t seed) {
    cv::Mat grey;
    cv::extractChannel(brantel::programs::generatePicture(size, seed), grey, 1);
    return grey;
}

int write(const fs::path& folder) {
    using namespace brantel::programs;
    ScanSettings settings;
    settings.frame = {640, 480};
    settings.overlap = 0.35;
    // A picture on which the three functions find every shift exactly; they may be 2 pixels off (quirk 33).
    const cv::Mat picture = greyPicture({1500, 800}, 5);
    const std::vector<cv::Point> plan = planScan(picture.size(), settings);
    std::ofstream raw(folder / "frames.raw", std::ios::binary);
    std::ofstream places(folder / "places.txt", std::ios::binary);
    std::ofstream readme(folder / "readme.txt", std::ios::binary);
    std::ofstream shifts(folder / "shifts.txt", std::ios::binary);
    cv::Rect extent;
    for (std::size_t k = 0; k < plan.size(); ++k) {
        const cv::Mat frame = cutFrame(picture, settings, plan, k);
        const std::string name = "frame_" + std::to_string(k + 1) + ".pgm";
        writePgm(folder / name, frame);
        writeRows(raw, frame);
        const std::string place = "placed at " + std::to_string(plan[k].x) + ", " + std::to_string(plan[k].y);
        places << name << ": " << place << '\n';
        readme << place << '\n';
        const cv::Point shift = k > 0 ? plan[k] - plan[k - 1] : cv::Point();
        if (k > 0) shifts << name << ": shifted by " << shift.x << ", " << shift.y << '\n';
        extent |= cv::Rect(plan[k], settings.frame);
    }
    writePgm(folder / "mosaic.pgm", picture(extent));
    writePgm(folder / "smaller.pgm", picture(cv::Rect(0, 0, 300, 240)));
    writePgm(folder / "other.pgm", greyPicture(settings.frame, 2));
    return raw.flush() && places.flush() && readme.flush() && shifts.flush() ? 0 : 1;
}

int compare(const fs::path& one, const fs::path& other) {
    using namespace brantel::programs;
    const cv::Mat a = readPicture(one, Channels::grey);
    const cv::Mat b = readPicture(other, Channels::grey);
    if (a.empty() || a.size() != b.size()) {
        std::fprintf(stderr, "%d x %d and %d x %d pixels\n", a.cols, a.rows, b.cols, b.rows);
        return 1;
    }
    const double difference = cv::norm(a, b, cv::NORM_INF);
    std::fprintf(stderr, "the largest difference is %g\n", difference);
    return difference <= 4 ? 0 : 1;  // each of up to three blendings rounds weights and mean
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::strcmp(arguments[1], "write") == 0) return write(arguments[2]);
    if (count == 4 && std::strcmp(arguments[1], "compare") == 0) return compare(arguments[2], arguments[3]);
    return 2;
}
