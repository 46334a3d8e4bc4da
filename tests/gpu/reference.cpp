#include "gpu/reference.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>

#include "support/fused.h"

namespace gpu_test {

namespace {

using Byte = unsigned char;

Byte luma(const Byte* bgr) {
    const unsigned thousandths = 114U * bgr[0] + 587U * bgr[1] + 299U * bgr[2];
    return static_cast<Byte>(thousandths / 1000U + (thousandths % 1000U >= 500U ? 1U : 0U));
}

void greyImage(Byte* src, int rows, int cols, Byte* dst) {
    for (int i = 0; i < rows * cols; ++i) dst[i] = luma(src + 3 * i);
}
void greyImages(Byte* a, Byte* b, int rows, int cols, Byte* dstA, Byte* dstB) {
    greyImage(a, rows, cols, dstA);
    greyImage(b, rows, cols, dstB);
}
void masksOfColour(Byte* a, Byte* b, int rows, int cols, float* maskA, float* maskB) {
    for (int i = 0; i < rows * cols; ++i) maskA[i] = luma(a + 3 * i) != 0 ? 255.0F : 0.0F;
    for (int i = 0; i < rows * cols; ++i) maskB[i] = luma(b + 3 * i) != 0 ? 255.0F : 0.0F;
}
void masksOfGrey(Byte* a, Byte* b, int cols, int rows, float* maskA, float* maskB) {
    for (int i = 0; i < rows * cols; ++i) maskA[i] = a[i] != 0 ? 255.0F : 0.0F;
    for (int i = 0; i < rows * cols; ++i) maskB[i] = b[i] != 0 ? 255.0F : 0.0F;
}

int reflected(int i, int length) {
    return i < 0 ? -i : i >= length ? 2 * (length - 1) - i : i;
}

template <class T>
void padRows(T* src, int rows, int cols, int border, T* dst, T* dst2) {
    for (int y = -border; y < rows + border; ++y)
        for (int x = 0; x < cols; ++x) {
            const T value = src[reflected(y, rows) * cols + x];
            dst[(y + border) * (cols + 2 * border) + border + x] = value;
            dst2[(y + border) * (cols + 2 * border) + border + x] = value;
        }
}
template <class T>
void padColumns(T* src, int paddedRows, int cols, int border, T* dst, T* dst2) {
    const int width = cols + 2 * border;
    for (int y = 0; y < paddedRows; ++y)
        for (int x = -border; x < cols + border; ++x) {
            if (x == 0) x = cols;  // the body is the row pass's business
            const T value = src[y * width + border + reflected(x, cols)];
            dst[y * width + border + x] = value;
            dst2[y * width + border + x] = value;
        }
}
void padByteRows(Byte* src, int rows, int cols, int border, Byte* dst) {
    padRows(src, rows, cols, border, dst, dst);
}
void padByteColumns(Byte* src, int rows, int cols, int border, Byte* dst) {
    padColumns(src, rows, cols, border, dst, dst);
}

template <class T>
void removeBorder(T* src, int rows, int cols, int border, T* dst) {
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            dst[y * cols + x] = src[(y + border) * (cols + 2 * border) + x + border];
}
template <class T>
void removeColumns(T* src, int rows, int cols, int border, T* dst) {
    for (int i = 0; i < rows * cols; ++i) dst[i] = src[i + border];
}

/// Sum of five samples, step apart: the order of the terms counts.
template <class T>
float tapSum(const T* first, int step, const double (&weights)[5]) {
    double sum = static_cast<double>(first[step]) * weights[1];
    for (const int tap : {0, 2, 3, 4})
        sum = brantel::test::fma(static_cast<double>(first[tap * step]), weights[tap], sum);
    return static_cast<float>(sum);
}
constexpr double narrow[5] = {0.0554487, 0.244201, 0.40262, 0.244201, 0.0554487};
constexpr double wide[5] = {0.187627, 0.206068, 0.212609, 0.206068, 0.187627};

void store(Byte& to, float value) {
    to = static_cast<Byte>(static_cast<int>(value) % 256);
}
void store(float& to, float value) {
    to = value;
}

template <class T>
void filterAlongColumns(T* src, int rows, int cols, T* dst) {
    for (int y = 2; y < rows - 2; ++y)
        for (int x = 0; x < cols; ++x)
            store(dst[y * cols + x], tapSum(src + (y - 2) * cols + x, cols, sizeof(T) == 1 ? narrow : wide));
}
template <class T>
void filterAlongRows(T* src, int rows, int cols, T* dst) {
    for (int y = 0; y < rows; ++y)
        for (int x = 2; x < cols - 2; ++x)
            store(dst[y * cols + x], tapSum(src + y * cols + x - 2, 1, sizeof(T) == 1 ? narrow : wide));
}

/// Sum of a 3 x 3 window under a mask.
int windowSum(const Byte* centre, int cols, const int (&mask)[9]) {
    int sum = 0;
    for (int r = -1; r <= 1; ++r)
        for (int c = -1; c <= 1; ++c) sum += mask[(r + 1) * 3 + c + 1] * centre[r * cols + c];
    return sum;
}

void smooth3x3(Byte* src, int rows, int cols, Byte* dst) {
    for (int y = 1; y < rows - 1; ++y)
        for (int x = 1; x < cols - 1; ++x)
            dst[y * cols + x] =
                static_cast<Byte>(windowSum(src + y * cols + x, cols, {1, 2, 1, 2, 4, 2, 1, 2, 1}) / 16);
}
void zeroSum9(Byte* src, int rows, int cols, Byte* dst) {
    constexpr int taps[9] = {-1, -2, -1, 2, 4, 2, -1, -2, -1};
    for (int y = 0; y < rows; ++y)
        for (int x = 4; x < cols - 4; ++x) {
            int sum = 0;
            for (int k = 0; k < 9; ++k) sum += taps[k] * src[y * cols + x - 4 + k];
            dst[y * cols + x] = static_cast<Byte>(((sum % 256) + 256) % 256);
        }
}

int sampled(int x, int y, int dstCols, int factor) {
    int index = 2 * y * dstCols + x;
    for (int doubling = 0; doubling < factor / 2; ++doubling) index *= 2;
    return index;
}
void decimateGrey(Byte* src, int dstRows, int dstCols, int factor, Byte* dst) {
    for (int y = 0; y < dstRows; ++y)
        for (int x = 0; x < dstCols; ++x) dst[y * dstCols + x] = src[sampled(x, y, dstCols, factor)];
}
void decimateColour(Byte* src, int dstRows, int dstCols, int factor, Byte* dst) {
    for (int y = 0; y < dstRows; ++y)
        for (int x = 0; x < dstCols; ++x)
            std::memcpy(dst + 3 * (y * dstCols + x), src + 3 * sampled(x, y, dstCols, factor), 3);
}

void gradients(Byte* src, int rows, int cols, float* gxx, float* gyy, float* gxy) {
    for (int y = 1; y < rows - 1; ++y)
        for (int x = 1; x < cols - 1; ++x) {
            const int at = y * cols + x;
            const int a = std::abs(windowSum(src + at, cols, {-1, 0, 1, -2, 0, 2, -1, 0, 1})) / 4;
            const int b = std::abs(windowSum(src + at, cols, {-1, -2, -1, 0, 0, 0, 1, 2, 1})) / 4;
            gxx[at] = static_cast<float>(a * a);
            gyy[at] = static_cast<float>(b * b);
            gxy[at] = static_cast<float>(a * b);
        }
}
void absoluteDifference(Byte* a, Byte* b, int rows, int cols) {
    for (int i = 0; i < rows * cols; ++i) a[i] = a[i] > b[i] ? a[i] - b[i] : b[i] - a[i];
}
void fillZeros1(Byte* img, int rows, int cols) {
    for (int i = 0; i < rows * cols; ++i)
        if (img[i] == 0) img[i] = 1;
}
void fillZeros3(Byte* img, int rows, int cols) {
    fillZeros1(img, rows, 3 * cols);
}

void weights(float* a, float* b, int rows, int cols, Byte* weight) {
    for (int i = 0; i < rows * cols; ++i) {
        const float sum = a[i] + b[i];
        const double share = static_cast<double>(a[i]) * 255.0 / static_cast<double>(sum);
        weight[i] = sum == 0.0F ? 0 : static_cast<Byte>(static_cast<float>(share));
    }
}
void fuse1(Byte* a, Byte* b, Byte* weight, int rows, int cols, Byte* out) {
    for (int i = 0; i < rows * cols; ++i)
        out[i] = static_cast<Byte>((weight[i] * a[i] + (255 - weight[i]) * b[i]) / 255);
}
void fuse3(Byte* a, Byte* b, Byte* weight, int rows, int cols, Byte* out) {
    for (int i = 0; i < 3 * rows * cols; ++i)
        out[i] = static_cast<Byte>((weight[i / 3] * a[i] + (255 - weight[i / 3]) * b[i]) / 255);
}
/// Here the last column wins; on a device any may (see rowRangeMismatch).
void rowRange(Byte* src, int, int srcCols, int rows, int cols, int rowOff, int colOff, Byte* dst) {
    for (int y = 0; y < rows; ++y) dst[(y + 1) * cols] = src[(y + rowOff) * srcCols + cols - 1 + colOff];
}

const std::map<std::string, Callable>& references() {
    static const std::map<std::string, Callable> all = {
        {"rgb2GaryKernel", unpacked(greyImage)},
        {"rgb2GaryKernel2", unpacked(greyImage)},
        {"rgb2GaryTwoKernel", unpacked(greyImages)},
        {"rgb2GaryFloatTwoCh3Kernel", unpacked(masksOfColour)},
        {"rgb2GaryFloatTwoCh1Kernel", unpacked(masksOfGrey)},
        {"opencvcopyFilter2DBorderRowUchar", unpacked(padByteRows)},
        {"opencvcopyFilter2DBorderColUchar", unpacked(padByteColumns)},
        {"opencvcopyFilter2DBorderRowUhcarMode", unpacked(padRows<Byte>)},
        {"opencvcopyFilter2DBorderColUcharMode", unpacked(padColumns<Byte>)},
        {"opencvcopyFilter2DBorderRowFloat", unpacked(padRows<float>)},
        {"opencvcopyFilter2DBorderRowFloat2", unpacked(padRows<float>)},
        {"opencvcopyFilter2DBorderColFloat", unpacked(padColumns<float>)},
        {"opencvcopyFilter2DBorderColFloat2", unpacked(padColumns<float>)},
        {"opencvcopyFilter2DTakeOutBoundUchar", unpacked(removeBorder<Byte>)},
        {"opencvcopyFilter2DTakeOutBoundFloat", unpacked(removeBorder<float>)},
        {"opencvcopyFilter2DTakeOutBoundFloat2", unpacked(removeBorder<float>)},
        {"opencvcopyFilter2DTakeOutBoundColUchar", unpacked(removeColumns<Byte>)},
        {"opencvcopyFilter2DTakeOutBoundColFloat", unpacked(removeColumns<float>)},
        {"opencvcopyFilter2DTakeOutBoundColFloat2", unpacked(removeColumns<float>)},
        {"opencvFilter2DRowCalcUcharWin5Mode", unpacked(filterAlongColumns<Byte>)},
        {"opencvFilter2DColCalcUcharWin5Mode", unpacked(filterAlongRows<Byte>)},
        {"opencvFilter2DRowCalcFloatWin5", unpacked(filterAlongColumns<float>)},
        {"opencvFilter2DColCalcFloatWin5", unpacked(filterAlongRows<float>)},
        {"opencvFilter2DRowCalcFloatWin5Mode", unpacked(filterAlongColumns<float>)},
        {"opencvFilter2DRowCalcFloatWin52", unpacked(filterAlongColumns<float>)},
        {"opencvFilter2DColCalcFloatWin5Mode", unpacked(filterAlongRows<float>)},
        {"opencvFilter2DColCalcFloatWin52", unpacked(filterAlongRows<float>)},
        {"opencvfilter2DCalcCharWin3Kernel", unpacked(smooth3x3)},
        {"opencvfilter2DColCalcCharWin9Kernel", unpacked(zeroSum9)},
        {"opencvInterLineARResizeDownCh1Kernel", unpacked(decimateGrey)},
        {"opencvInterLineARResizeDownCh1Kernel2", unpacked(decimateGrey)},
        {"opencvInterLineARResizeDownCh3Kernel", unpacked(decimateColour)},
        {"findGradSquareCrossTermsKernel", unpacked(gradients)},
        {"findGradSquareCrossTermsKernel2", unpacked(gradients)},
        {"absCalcKernel", unpacked(absoluteDifference)},
        {"pretJudgeImageCh3Kernel", unpacked(fillZeros3)},
        {"pretJudgeImageCh1Kernel", unpacked(fillZeros1)},
        {"getWeightImageKernel", unpacked(weights)},
        {"getFusionImageKernelCh3", unpacked(fuse3)},
        {"getFusionImageKernelCh1", unpacked(fuse1)},
        {"getRowRangeKernel", unpacked(rowRange)},
    };
    return all;
}

std::string difference(const std::vector<Contents>& expected, const std::vector<Contents>& after) {
    if (after.size() != expected.size()) return "wrong number of buffers";
    for (std::size_t b = 0; b < expected.size(); ++b)
        for (std::size_t i = 0; i < expected[b].size(); ++i)
            if (after[b].size() != expected[b].size() || after[b][i] != expected[b][i])
                return "buffer " + std::to_string(b) + ", byte " + std::to_string(i) + ": expected " +
                       std::to_string(expected[b][i]) + ", got " +
                       (i < after[b].size() ? std::to_string(after[b][i]) : "nothing");
    return "";
}

/// Any value of a row of the range may have been written behind it; takes what was found when it is one of
/// them.
void acceptAnyWinner(const Launch& launch, const std::vector<Contents>& after,
                     std::vector<Contents>& expected) {
    const auto number = [&](int i) { return launch.arguments[static_cast<std::size_t>(i)].value; };
    const int srcCols = number(2), rows = number(3), cols = number(4), rowOff = number(5), colOff = number(6);
    const Byte* src = launch.buffers[0].data();
    Byte* dst = expected[1].data();
    const Byte* found = after[1].data();
    for (int y = 0; y < rows; ++y) {
        const int at = (y + 1) * cols;
        for (int x = 0; x < cols; ++x)
            if (src[(y + rowOff) * srcCols + x + colOff] == found[at]) dst[at] = found[at];
    }
}

}  // namespace

std::vector<Contents> runOnCopy(const Launch& launch, const Callable& function) {
    std::vector<Contents> buffers = launch.buffers;
    std::vector<void*> pointers;
    std::vector<int> numbers;
    for (const Argument& argument : launch.arguments) {
        pointers.push_back(argument.isBuffer ? buffers[static_cast<std::size_t>(argument.value)].data()
                                             : nullptr);
        numbers.push_back(argument.value);
    }
    std::vector<void*> values;
    for (std::size_t i = 0; i < pointers.size(); ++i)
        values.push_back(launch.arguments[i].isBuffer ? static_cast<void*>(&pointers[i]) : &numbers[i]);
    function(values.data());
    return buffers;
}

std::string mismatch(const Launch& launch, const std::vector<Contents>& after) {
    std::vector<Contents> expected = runOnCopy(launch, references().at(launch.kernel));
    if (launch.kernel == "getRowRangeKernel") acceptAnyWinner(launch, after, expected);
    return difference(expected, after);
}

std::vector<std::string> openclNames(const std::string& cudaName) {
    for (const char* absent :
         {"opencvcopyFilter2DTakeOutBoundColUchar", "opencvfilter2DColCalcCharWin9Kernel",
          "opencvcopyFilter2DTakeOutBoundColFloat", "opencvcopyFilter2DTakeOutBoundColFloat2",
          "opencvFilter2DRowCalcFloatWin5Mode", "opencvFilter2DColCalcFloatWin5Mode"})
        if (cudaName == absent) return {};
    if (cudaName == "getRowRangeKernel") return {"getRowRange", "getRowRange2"};
    return {cudaName};
}

Products smoothedProducts(const unsigned char* grey, int rows, int cols) {
    const int halfRows = rows / 2, halfCols = cols / 2;
    const auto half = static_cast<std::size_t>(halfRows) * static_cast<std::size_t>(halfCols);
    Contents image(half);
    for (int y = 0; y < halfRows; ++y)
        for (int x = 0; x < halfCols; ++x)
            image[static_cast<std::size_t>(y * halfCols + x)] = grey[2 * y * cols + 2 * x];
    Products products{std::vector<float>(half), std::vector<float>(half), std::vector<float>(half)};
    gradients(image.data(), halfRows, halfCols, products.xx.data(), products.yy.data(), products.xy.data());
    constexpr int border = 2;
    const int paddedRows = halfRows + 2 * border, paddedCols = halfCols + 2 * border;
    std::vector<float> a(static_cast<std::size_t>(paddedRows) * static_cast<std::size_t>(paddedCols));
    std::vector<float> b = a;
    for (auto* product : {&products.xx, &products.yy, &products.xy}) {
        padRows(product->data(), halfRows, halfCols, border, a.data(), b.data());
        padColumns(a.data(), paddedRows, halfCols, border, a.data(), b.data());
        filterAlongColumns(a.data(), paddedRows, paddedCols, b.data());
        filterAlongRows(b.data(), paddedRows, paddedCols, a.data());
        removeBorder(a.data(), halfRows, halfCols, border, product->data());
    }
    return products;
}

Contents fusedByDistances(const Contents& imgA, const Contents& imgB, std::vector<float> distancesA,
                          std::vector<float> distancesB, int channels) {
    Contents a = imgA, b = imgB, weight(distancesA.size()), out(imgA.size());
    const int pixels = static_cast<int>(distancesA.size());
    weights(distancesA.data(), distancesB.data(), 1, pixels, weight.data());
    (channels == 3 ? fuse3 : fuse1)(a.data(), b.data(), weight.data(), 1, pixels, out.data());
    return out;
}

}  // namespace gpu_test
