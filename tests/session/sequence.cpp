#include "session/sequence.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <opencv2/imgcodecs.hpp>

namespace brantel::test {

namespace fs = std::filesystem;

namespace {

/// What follows a field's name and colon; null when the object has no such field.
const char* valueOf(const std::string& object, const std::string& field) {
    const std::string key = "\"" + field + "\":";
    const std::size_t at = object.find(key);
    return at == std::string::npos ? nullptr : object.c_str() + at + key.size();
}

std::int32_t numberIn(const std::string& object, const std::string& field) {
    const char* value = valueOf(object, field);
    return value == nullptr ? 0 : std::atoi(value);
}

std::string textIn(const std::string& object, const std::string& field) {
    const char* value = valueOf(object, field);
    if (value == nullptr) return "";
    const std::string rest(value);
    const std::size_t first = rest.find('"') + 1;
    return rest.substr(first, rest.find('"', first) - first);
}

}  // namespace

Sequence Sequence::read(const fs::path& list) {
    std::ifstream file(list);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Sequence sequence{list.string(), {}};
    for (std::size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open + 1)) {
        const std::string object = text.substr(open, text.find('}', open) - open);
        if (valueOf(object, "dx") == nullptr) continue;
        sequence.steps.push_back({textIn(object, "file"),
                                  {numberIn(object, "x"), numberIn(object, "y")},
                                  numberIn(object, "w"),
                                  numberIn(object, "h"),
                                  {numberIn(object, "dx"), numberIn(object, "dy")}});
    }
    return sequence;
}

std::vector<Sequence> sequencesIn(const fs::path& folder) {
    std::vector<Sequence> sequences;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() != ".json") continue;
        Sequence sequence = Sequence::read(entry.path());
        if (!sequence.steps.empty()) sequences.push_back(std::move(sequence));
    }
    std::sort(sequences.begin(), sequences.end(),
              [](const Sequence& a, const Sequence& b) { return a.name < b.name; });
    return sequences;
}

Picture frameOf(const fs::path& folder, const Step& step) {
    cv::Mat image = cv::imread((folder / step.file).string(), cv::IMREAD_ANYCOLOR);
    if (step.width != 0)
        image = image(cv::Rect(step.window.x, step.window.y, step.width, step.height)).clone();
    Picture picture{image.rows, image.cols, image.empty() ? 1 : image.channels(), {}};
    if (!image.empty()) picture.pixels.assign(image.datastart, image.dataend);
    return picture;
}

}  // namespace brantel::test
