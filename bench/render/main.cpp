// brantel-render-bench: what a Deep Zoom picture out of blended bands costs beside one that libvips makes of the same picture
// in an uncompressed file. The frames lie in memory, so that reading them costs nothing.
#include <vips/vips.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "picture/picture_file.h"
#include "support/picture.h"

namespace {

namespace fs = std::filesystem;
using namespace brantel;

constexpr std::int32_t rounds = 3;
constexpr std::int32_t frameColumns = 2448;
constexpr std::int32_t frameRows = 2048;

/// The frames of a scan are parts of one picture.
class PartsOfAPicture : public render::FrameReader {
  public:
    PartsOfAPicture(std::int32_t columns, std::int32_t rows) {
        const cv::Point step(frameColumns * 9 / 10, frameRows * 9 / 10);
        picture_.create((rows - 1) * step.y + frameRows, (columns - 1) * step.x + frameColumns, CV_8UC3);
        const test::Picture texture = test::makePicture(test::Texture::grains, 1500, 1700, 3, 1);
        const cv::Mat one(texture.rows, texture.cols, CV_8UC3,
                          const_cast<std::uint8_t*>(texture.pixels.data()));
        for (std::int32_t y = 0; y < picture_.rows; y += one.rows)
            for (std::int32_t x = 0; x < picture_.cols; x += one.cols) {
                const cv::Size size(std::min(one.cols, picture_.cols - x),
                                    std::min(one.rows, picture_.rows - y));
                one(cv::Rect({}, size)).copyTo(picture_(cv::Rect({x, y}, size)));
            }
        std::vector<std::size_t> numbers;
        std::vector<cv::Point2d> places;
        for (std::int32_t i = 0; i < columns * rows; ++i) {
            numbers.push_back(numbers.size());
            places.emplace_back(i % columns * step.x, i / columns * step.y);
        }
        cv::Point origin;
        layout_ = render::layOut(numbers, places, {frameColumns, frameRows}, CV_8UC3, origin);
    }

    cv::Mat read(std::size_t frame) override {
        return picture_(cv::Rect(layout_.frames[frame].at, layout_.frameSize));
    }
    cv::Mat grey(std::size_t, const cv::Mat& samples) const override { return samples; }

    const render::Layout& layout() const { return layout_; }

    /// The file that libvips reads in its own way.
    void writeUncompressed(const fs::path& file) const {
        VipsImage* image = vips_image_new_from_memory(picture_.data, picture_.total() * 3, picture_.cols,
                                                      picture_.rows, 3, VIPS_FORMAT_UCHAR);
        if (image == nullptr || vips_image_write_to_file(image, file.c_str(), nullptr) != 0)
            throw std::runtime_error(vips_error_buffer());
        g_object_unref(image);
    }

  private:
    cv::Mat picture_;
    render::Layout layout_;
};

void deepZoomByVips(const fs::path& from, const fs::path& to, const std::string& suffix) {
    VipsImage* image = vips_image_new_from_file(from.c_str(), "access", VIPS_ACCESS_SEQUENTIAL, nullptr);
    if (image == nullptr || vips_dzsave(image, to.c_str(), "suffix", suffix.c_str(), nullptr) != 0)
        throw std::runtime_error(vips_error_buffer());
    g_object_unref(image);
}

double seconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void compare(const fs::path& folder, std::int32_t columns, std::int32_t rows) {
    PartsOfAPicture scan(columns, rows);
    const fs::path uncompressed = folder / "picture.v";
    scan.writeUncompressed(uncompressed);
    constexpr std::int32_t step = 8;  // as brantel-render makes it
    const cv::Mat light(render::FlatField::sizeFor({frameColumns, frameRows}, step), CV_32FC3,
                        cv::Scalar::all(1.01));
    const render::FlatField even;
    const render::FlatField lit{light, step};
    double least[3] = {1e9, 1e9, 1e9};
    for (std::int32_t round = 0; round < rounds; ++round) {
        const auto own = [&](const render::FlatField& field) {
            const render::PictureParts parts{scan.layout(), field, scan, render::Blend::feather};
            render::writePicture({folder / "own.dzi", render::Format::deepZoom, 0, 90}, parts, {});
        };
        least[0] = std::min(least[0],
                            seconds([&] { deepZoomByVips(uncompressed, folder / "vips", ".jpeg[Q=90]"); }));
        fs::remove_all(folder / "vips_files");
        least[1] = std::min(least[1], seconds([&] { own(even); }));
        least[2] = std::min(least[2], seconds([&] { own(lit); }));
    }
    std::printf("%d x %d, the best of %d rounds\n", scan.layout().size.width, scan.layout().size.height,
                rounds);
    std::printf("vips dzsave of a file       %6.2f s\n", least[0]);
    std::printf("blended, even light         %6.2f s, ratio %.2f\n", least[1], least[1] / least[0]);
    std::printf("blended, light corrected    %6.2f s, ratio %.2f\n", least[2], least[2] / least[0]);
}

}  // namespace

/// @param argv  frames side by side and one below the other, 5 and 4 unless given
int main(int argc, char** argv) try {
    if (VIPS_INIT(argv[0]) != 0) throw std::runtime_error(vips_error_buffer());
    vips_cache_set_max(0);
    std::string folder = (fs::temp_directory_path() / "brantel-render-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
    compare(folder, argc > 1 ? std::atoi(argv[1]) : 5, argc > 2 ? std::atoi(argv[2]) : 4);
    fs::remove_all(folder);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "brantel-render-bench: %s\n", error.what());
    return 1;
}
