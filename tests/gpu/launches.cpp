#include "gpu/launches.h"

#include <cmath>
#include <cstring>
#include <random>

namespace gpu_test {

namespace {

using Byte = unsigned char;

Contents asBytes(const std::vector<float>& values) {
    Contents bytes(values.size() * sizeof(float));
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// Writes a launch down argument by argument.
class LaunchOf {
  public:
    LaunchOf(const char* kernel, int rows, int cols) {
        launch_.kernel = kernel;
        launch_.rows = rows;
        launch_.columns = cols;
    }
    LaunchOf& buffer(Contents contents) {
        launch_.buffers.push_back(std::move(contents));
        return again(static_cast<int>(launch_.buffers.size()) - 1);
    }
    LaunchOf& buffer(const std::vector<float>& values) { return buffer(asBytes(values)); }
    /// The same buffer as an earlier argument's.
    LaunchOf& again(int index) {
        launch_.arguments.push_back({true, index});
        return *this;
    }
    template <class... N>
    LaunchOf& numbers(N... values) {
        (launch_.arguments.push_back({false, values}), ...);
        return *this;
    }
    LaunchOf& blockColumns(int columns) {
        launch_.blockColumns = columns;
        return *this;
    }
    operator Launch() const { return launch_; }

  private:
    Launch launch_;
};

/// Random contents with many extremes: black and white decide most branches.
class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}

    int below(int end) { return static_cast<int>(engine_() % static_cast<unsigned>(end)); }
    Contents bytes(int count) {
        Contents all(static_cast<std::size_t>(count));
        for (Byte& b : all) b = below(4) == 0 ? 0 : below(6) == 0 ? 255 : static_cast<Byte>(below(256));
        return all;
    }
    /// Gradient products and other values of all magnitudes.
    std::vector<float> floats(int count) {
        std::vector<float> all(static_cast<std::size_t>(count));
        for (float& f : all)
            f = below(2) == 0 ? static_cast<float>(below(256) * below(256))
                              : std::ldexp(static_cast<float>(below(1 << 24)), below(24) - 24);
        return all;
    }
    /// Distance maps: zeros, far away, and sums of steps.
    std::vector<float> distances(int count) {
        std::vector<float> all(static_cast<std::size_t>(count));
        for (float& f : all)
            f = below(3) == 0 ? 0.0F : below(4) == 0 ? 255.0F : 0.1F * static_cast<float>(below(2550));
        return all;
    }

  private:
    std::mt19937 engine_;
};

/// The generator of one image size's launches.
class Generator {
  public:
    Generator(int rows, int cols, unsigned seed) : r(rows), c(cols), n(rows * cols), random(seed) {}

    std::vector<Launch> all() {
        grey();
        for (const int border : {1, 2, 5})
            if (r > border && c > border) padding(border);
        for (const int border : {1, 2, 4}) removal(border);
        filters();
        for (const int factor : {1, 2, 3, 4}) downscaling(factor);
        features();
        blending();
        rowRange();
        return std::move(launches);
    }

  private:
    Contents bytes(int count) { return random.bytes(count); }
    std::vector<float> floats(int count) { return random.floats(count); }
    LaunchOf over(const char* kernel) { return {kernel, r, c}; }
    void add(const Launch& launch) { launches.push_back(launch); }

    void grey() {
        for (const char* name : {"rgb2GaryKernel", "rgb2GaryKernel2"})
            add(over(name).buffer(bytes(3 * n)).numbers(r, c).buffer(bytes(n)));
        add(over("rgb2GaryTwoKernel")
                .buffer(bytes(3 * n))
                .buffer(bytes(3 * n))
                .numbers(r, c)
                .buffer(bytes(n))
                .buffer(bytes(n)));
        add(over("rgb2GaryFloatTwoCh3Kernel")
                .buffer(bytes(3 * n))
                .buffer(bytes(3 * n))
                .numbers(r, c)
                .buffer(floats(n))
                .buffer(floats(n)));
        add(over("rgb2GaryFloatTwoCh1Kernel")
                .buffer(bytes(n))
                .buffer(bytes(n))
                .numbers(c, r)
                .buffer(floats(n))
                .buffer(floats(n)));
    }

    void padding(int b) {
        const int padded = (r + 2 * b) * (c + 2 * b);
        add(LaunchOf("opencvcopyFilter2DBorderRowUchar", r + 2 * b, c)
                .buffer(bytes(n))
                .numbers(r, c, b)
                .buffer(bytes(padded)));
        add(LaunchOf("opencvcopyFilter2DBorderRowUhcarMode", r + 2 * b, c)
                .buffer(bytes(n))
                .numbers(r, c, b)
                .buffer(bytes(padded))
                .buffer(bytes(padded)));
        for (const char* name : {"opencvcopyFilter2DBorderRowFloat", "opencvcopyFilter2DBorderRowFloat2"})
            add(LaunchOf(name, r + 2 * b, c)
                    .buffer(floats(n))
                    .numbers(r, c, b)
                    .buffer(floats(padded))
                    .buffer(floats(padded)));

        const auto columnPass = [&](const char* name) {
            return LaunchOf(name, r + 2 * b, b).blockColumns(b);
        };
        const char* bytePass = "opencvcopyFilter2DBorderColUchar";
        const char* twoBytePass = "opencvcopyFilter2DBorderColUcharMode";
        add(columnPass(bytePass).buffer(bytes(padded)).numbers(r + 2 * b, c, b).buffer(bytes(padded)));
        add(columnPass(bytePass).buffer(bytes(padded)).numbers(r + 2 * b, c, b).again(0));
        add(columnPass(twoBytePass)
                .buffer(bytes(padded))
                .numbers(r + 2 * b, c, b)
                .buffer(bytes(padded))
                .buffer(bytes(padded)));
        add(columnPass(twoBytePass)
                .buffer(bytes(padded))
                .numbers(r + 2 * b, c, b)
                .again(0)
                .buffer(bytes(padded)));
        for (const char* name : {"opencvcopyFilter2DBorderColFloat", "opencvcopyFilter2DBorderColFloat2"}) {
            add(columnPass(name)
                    .buffer(floats(padded))
                    .numbers(r + 2 * b, c, b)
                    .buffer(floats(padded))
                    .buffer(floats(padded)));
            add(columnPass(name)
                    .buffer(floats(padded))
                    .numbers(r + 2 * b, c, b)
                    .again(0)
                    .buffer(floats(padded)));
        }
    }

    void removal(int b) {
        const int padded = (r + 2 * b) * (c + 2 * b);
        add(over("opencvcopyFilter2DTakeOutBoundUchar")
                .buffer(bytes(padded))
                .numbers(r, c, b)
                .buffer(bytes(n)));
        for (const char* name :
             {"opencvcopyFilter2DTakeOutBoundFloat", "opencvcopyFilter2DTakeOutBoundFloat2"})
            add(over(name).buffer(floats(padded)).numbers(r, c, b).buffer(floats(n)));
        add(over("opencvcopyFilter2DTakeOutBoundColUchar")
                .buffer(bytes(n + b))
                .numbers(r, c, b)
                .buffer(bytes(n)));
        for (const char* name :
             {"opencvcopyFilter2DTakeOutBoundColFloat", "opencvcopyFilter2DTakeOutBoundColFloat2"})
            add(over(name).buffer(floats(n + b)).numbers(r, c, b).buffer(floats(n)));
    }

    void filters() {
        for (const char* name : {"opencvFilter2DRowCalcUcharWin5Mode", "opencvFilter2DColCalcUcharWin5Mode",
                                 "opencvfilter2DCalcCharWin3Kernel", "opencvfilter2DColCalcCharWin9Kernel"})
            add(over(name).buffer(bytes(n)).numbers(r, c).buffer(bytes(n)));
        for (const char* name : {"opencvFilter2DRowCalcFloatWin5", "opencvFilter2DRowCalcFloatWin52",
                                 "opencvFilter2DRowCalcFloatWin5Mode", "opencvFilter2DColCalcFloatWin5",
                                 "opencvFilter2DColCalcFloatWin52", "opencvFilter2DColCalcFloatWin5Mode"})
            add(over(name).buffer(floats(n)).numbers(r, c).buffer(floats(n)));
    }

    void downscaling(int factor) {
        const int highest = (2 * (r - 1) * c + c - 1) << (factor / 2);
        for (const char* name :
             {"opencvInterLineARResizeDownCh1Kernel", "opencvInterLineARResizeDownCh1Kernel2"})
            add(over(name).buffer(bytes(highest + 1)).numbers(r, c, factor).buffer(bytes(n)));
        add(over("opencvInterLineARResizeDownCh3Kernel")
                .buffer(bytes(3 * highest + 3))
                .numbers(r, c, factor)
                .buffer(bytes(3 * n)));
    }

    void features() {
        for (const char* name : {"findGradSquareCrossTermsKernel", "findGradSquareCrossTermsKernel2"})
            add(over(name).buffer(bytes(n)).numbers(r, c).buffer(floats(n)).buffer(floats(n)).buffer(
                floats(n)));
        add(over("absCalcKernel").buffer(bytes(n)).buffer(bytes(n)).numbers(r, c));
        add(over("pretJudgeImageCh3Kernel").buffer(bytes(3 * n)).numbers(r, c));
        add(over("pretJudgeImageCh1Kernel").buffer(bytes(n)).numbers(r, c));
    }

    void blending() {
        add(over("getWeightImageKernel")
                .buffer(random.distances(n))
                .buffer(random.distances(n))
                .numbers(r, c)
                .buffer(bytes(n)));
        add(over("getFusionImageKernelCh3")
                .buffer(bytes(3 * n))
                .buffer(bytes(3 * n))
                .buffer(bytes(n))
                .numbers(r, c)
                .buffer(bytes(3 * n)));
        add(over("getFusionImageKernelCh1")
                .buffer(bytes(n))
                .buffer(bytes(n))
                .buffer(bytes(n))
                .numbers(r, c)
                .buffer(bytes(n)));
    }

    /// A row range anywhere in the image; one element lies behind it.
    void rowRange() {
        const int rowOff = random.below(r), colOff = random.below(c);
        const int rows = 1 + random.below(r - rowOff), cols = 1 + random.below(c - colOff);
        add(LaunchOf("getRowRangeKernel", rows, cols)
                .buffer(bytes(n))
                .numbers(r, c, rows, cols, rowOff, colOff)
                .buffer(bytes(rows * cols + 1)));
    }

    int r, c, n;
    Random random;
    std::vector<Launch> launches;
};

/// A 5 x 1 column or 1 x 5 row of taps through one filter kernel.
template <class T>
KnownLaunch fiveTaps(const char* kernel, bool column, const std::vector<T>& taps, T stored) {
    const int rows = column ? 5 : 1, cols = column ? 1 : 5;
    const std::vector<T> before(5, T{9});
    std::vector<T> after = before;
    after[2] = stored;
    const auto contents = [](const std::vector<T>& values) {
        Contents bytes(values.size() * sizeof(T));
        std::memcpy(bytes.data(), values.data(), bytes.size());
        return bytes;
    };
    return {"five taps",
            LaunchOf(kernel, rows, cols).buffer(contents(taps)).numbers(rows, cols).buffer(contents(before)),
            {contents(taps), contents(after)}};
}

/// Sums that come out as another float when a step is not fused or the order differs.
void addFloatVectors(std::vector<KnownLaunch>& known) {
    const std::pair<std::vector<float>, float> vectors[] = {
        {{0x1.1f1174p+13F, 0x1.bfcdbep+11F, 0x1.a6ed9cp+15F, 0x1.c99166p+15F, 0x1.7b93c8p-10F},
         0x1.96e1eep+14F},
        {{0x1.67079ap+15F, 0x1.970b4ep+13F, 0x1.283c26p+15F, 0x1.a8a21p+14F, 0x1.8f76aap-9F},
         0x1.86226ap+14F},
        {{0x1.caf6b8p+15F, 0x1.224fa6p+13F, 0x1.b5cdbcp+13F, 0x1.655a96p+12F, 0x1.206cd8p-13F},
         0x1.0b1718p+14F},
        {{0x1.ce1a7cp+15F, 0x1.8060cep+15F, 0x1.a6b746p+15F, 0x1.6bdc3ap+14F, 0x1.42db8p-10F},
         0x1.254638p+15F},
        {{0x1.410cd6p+14F, 0x1.062e38p+15F, 0x1.8cca6ep+14F, 0x1.e53e7ap+15F, 0x1.0eb87ap-10F},
         0x1.c4a3bap+14F},
        {{0x1.31edf8p+15F, 0x1.fbb2d8p+15F, 0x1.356422p+14F, 0x1.f58ecep+14F, 0x1.e037acp-12F},
         0x1.ed2d32p+14F},
    };
    for (const auto& [taps, stored] : vectors) {
        for (const char* column : {"opencvFilter2DRowCalcFloatWin5", "opencvFilter2DRowCalcFloatWin52",
                                   "opencvFilter2DRowCalcFloatWin5Mode"})
            known.push_back(fiveTaps(column, true, taps, stored));
        for (const char* row : {"opencvFilter2DColCalcFloatWin5", "opencvFilter2DColCalcFloatWin52",
                                "opencvFilter2DColCalcFloatWin5Mode"})
            known.push_back(fiveTaps(row, false, taps, stored));
    }
}

/// Sums that round to the next whole number as floats: truncating the double would store one less.
void addByteVectors(std::vector<KnownLaunch>& known) {
    const std::pair<std::vector<Byte>, Byte> vectors[] = {
        {{106, 113, 0, 113, 107}, 67},  {{213, 226, 0, 226, 213}, 134}, {{44, 231, 0, 232, 45}, 118},
        {{223, 227, 1, 227, 223}, 136}, {{48, 132, 3, 132, 48}, 71},    {{255, 255, 255, 255, 255}, 255},
    };
    for (const auto& [taps, stored] : vectors) {
        known.push_back(fiveTaps("opencvFilter2DRowCalcUcharWin5Mode", true, taps, stored));
        known.push_back(fiveTaps("opencvFilter2DColCalcUcharWin5Mode", false, taps, stored));
    }
}

/// A kernel on one row: inputs, numbers (rows 1, cols), one output.
KnownLaunch oneRow(const char* what, const char* kernel, const std::vector<Contents>& inputs, int cols,
                   const Contents& output) {
    LaunchOf launch(kernel, 1, cols);
    for (const Contents& input : inputs) launch.buffer(input);
    launch.numbers(1, cols).buffer(Contents(output.size(), 77));
    std::vector<Contents> after = inputs;
    after.push_back(output);
    return {what, launch, after};
}

void addSmallImages(std::vector<KnownLaunch>& known) {
    known.push_back(oneRow("grey rounds to nearest", "rgb2GaryKernel",
                           {{255, 255, 255, 0, 0, 1, 0, 0, 2, 10, 20, 30}}, 4, {255, 0, 1, 22}));
    known.push_back(oneRow("weights", "getWeightImageKernel",
                           {asBytes({255, 0, 127.5F, 0}), asBytes({0, 255, 127.5F, 0})}, 4,
                           {255, 0, 127, 0}));
    known.push_back(oneRow("weight 255 takes A, 0 takes B", "getFusionImageKernelCh1",
                           {{1, 200, 255, 7}, {250, 3, 255, 9}, {255, 0, 100, 128}}, 4, {1, 3, 255, 7}));
    known.push_back(oneRow("the ninth tap wraps", "opencvfilter2DColCalcCharWin9Kernel",
                           {{100, 0, 0, 0, 0, 0, 0, 0, 0}}, 9, {77, 77, 77, 77, 156, 77, 77, 77, 77}));
    known.push_back({"padding does not repeat the edge row",
                     LaunchOf("opencvcopyFilter2DBorderRowUchar", 5, 2)
                         .buffer(Contents{1, 2, 3, 4, 5, 6})
                         .numbers(3, 2, 1)
                         .buffer(Contents(20, 0)),
                     {{1, 2, 3, 4, 5, 6}, {0, 3, 4, 0, 0, 1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0, 3, 4, 0}}});
    known.push_back(
        {"black samples become 1",
         LaunchOf("pretJudgeImageCh3Kernel", 1, 2).buffer(Contents{0, 0, 0, 0, 5, 0}).numbers(1, 2),
         {{1, 1, 1, 1, 5, 1}}});
    known.push_back({"factor 2 takes every second pixel",
                     LaunchOf("opencvInterLineARResizeDownCh1Kernel", 2, 2)
                         .buffer(Contents{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15})
                         .numbers(2, 2, 2)
                         .buffer(Contents(4, 77)),
                     {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {0, 2, 8, 10}}});
    known.push_back({"a row range leaves one value per row, behind the row",
                     LaunchOf("getRowRangeKernel", 2, 2)
                         .buffer(Contents{1, 2, 3, 4, 5, 5, 7, 9, 9})
                         .numbers(3, 3, 2, 2, 1, 1)
                         .buffer(Contents{50, 51, 52, 53, 54}),
                     {{1, 2, 3, 4, 5, 5, 7, 9, 9}, {50, 51, 5, 53, 9}}});
}

/// A vertical step edge from 0 to 255.
void addStepEdge(std::vector<KnownLaunch>& known) {
    const Contents image{0, 0, 255, 255, 0, 0, 255, 255, 0, 0, 255, 255};
    const Contents before = asBytes(std::vector<float>(12, 3.0F));
    std::vector<float> gxx(12, 3.0F), gyy = gxx;
    gxx[5] = gxx[6] = 65025.0F;
    gyy[5] = gyy[6] = 0.0F;
    known.push_back({"step edge",
                     LaunchOf("findGradSquareCrossTermsKernel", 3, 4)
                         .buffer(image)
                         .numbers(3, 4)
                         .buffer(before)
                         .buffer(before)
                         .buffer(before),
                     {image, asBytes(gxx), asBytes(gyy), asBytes(gyy)}});
}

}  // namespace

std::vector<Launch> randomLaunches(int rows, int cols, unsigned seed) {
    return Generator(rows, cols, seed).all();
}

std::vector<std::pair<int, int>> testSizes() {
    return {{1, 1},  {1, 9},   {7, 1},   {2, 3},   {3, 3},   {5, 5},   {4, 33},
            {33, 4}, {31, 65}, {32, 32}, {33, 31}, {47, 90}, {97, 64}, {121, 163}};
}

std::vector<KnownLaunch> knownLaunches() {
    std::vector<KnownLaunch> known;
    addFloatVectors(known);
    addByteVectors(known);
    addSmallImages(known);
    addStepEdge(known);
    return known;
}

}  // namespace gpu_test
