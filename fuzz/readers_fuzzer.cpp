// What the programs read out of other people's hands: picture files, tables of positions, reports, the values of options,
// command lines. A text or file that is not understood is refused by an InputError or by nothing in place of a value; nothing else
// may happen.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "frames/picture_reader.h"
#include "pictures/kinds.h"
#include "stitch/option_values.h"
#include "stitch/options.h"
#include "stitch/positions.h"
#include "system/files.h"

#if defined(BRANTEL_READS_REPORTS)
#include <sstream>

#include "render/scan_frames.h"
#endif

namespace {

namespace programs = brantel::programs;

/// The folder that the fuzzer works in.
std::string& folder() {
    static std::string path;
    return path;
}

void readPositions(FuzzedDataProvider& data) {
    const double pixelSize = data.ConsumeBool() ? data.ConsumeFloatingPointInRange(0.01, 10.0) : 0;
    const std::string text = data.ConsumeRemainingBytesAsString();
    try {
        const programs::Positions positions = programs::Positions::parse(text, "table", pixelSize);
        (void)positions.places(3);
    } catch (const programs::InputError&) {
    }
}

void readValues(FuzzedDataProvider& data) {
    const std::string text = data.ConsumeRemainingBytesAsString();
    (void)programs::parseRaw(text);
    (void)programs::parsePages(text);
    (void)programs::parseLimit(text);
    (void)programs::parseShift(text);
    (void)programs::kindOf(std::vector<std::uint8_t>(text.begin(), text.end()));
}

void readPicture(FuzzedDataProvider& data) {
    constexpr std::array<const char*, 6> endings = {"png", "tif", "jpg", "bmp", "pgm", "ome.tif"};
    programs::ReadingSettings settings;
    settings.channels = data.PickValueInArray(
        {programs::Channels::asStored, programs::Channels::grey, programs::Channels::colour});
    if (data.ConsumeBool()) {
        settings.pages = programs::PageChoice{data.ConsumeIntegralInRange<std::size_t>(1, 4),
                                              data.ConsumeIntegralInRange<std::size_t>(1, 3),
                                              data.ConsumeIntegralInRange<std::size_t>(0, 5)};
    }
    const std::string path = folder() + "/picture." + data.PickValueInArray(endings);
    const std::string bytes = data.ConsumeRemainingBytesAsString();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::abort();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    try {
        programs::PictureReader reader(settings);
        reader.open(path);
        programs::Frame frame;
        const auto none = [] { return std::vector<cv::Mat>(); };
        for (int page = 0; page < 8 && reader.next(frame, none); ++page) {
        }
    } catch (const programs::InputError&) {
    } catch (const std::bad_alloc&) {
    }
    std::remove(path.c_str());
}

#if defined(BRANTEL_READS_REPORTS)
void readReport(FuzzedDataProvider& data) {
    std::istringstream lines(data.ConsumeRemainingBytesAsString());
    try {
        const programs::ScanFrames scan = programs::scanFramesOf(programs::readScanReport(lines, "report"));
        (void)programs::extentsOf(scan.frames, {640, 480});
    } catch (const programs::InputError&) {
    }
}
#endif

void readCommandLine(FuzzedDataProvider& data) {
    std::vector<std::string> words{"brantel-stitch"};
    while (words.size() < 12 && data.remaining_bytes() > 0)
        words.push_back(data.ConsumeRandomLengthString(40));
    std::vector<char*> values;
    for (std::string& word : words) values.push_back(word.data());
    values.push_back(nullptr);
    programs::Options options;
    try {
        (void)programs::parseCommandLine(static_cast<int>(words.size()), values.data(), options);
    } catch (const programs::InputError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    static char directory[] = "/tmp/brantel-fuzz-XXXXXX";
    if (mkdtemp(directory) == nullptr || chdir(directory) != 0) std::abort();
    folder() = directory;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    switch (data.ConsumeIntegralInRange<int>(0, 7)) {
        case 0:
            readPositions(data);
            break;
        case 1:
            readValues(data);
            break;
        case 2:
            readCommandLine(data);
            break;
#if defined(BRANTEL_READS_REPORTS)
        case 3:
            readReport(data);
            break;
#endif
        default:
            readPicture(data);
    }
    return 0;
}
