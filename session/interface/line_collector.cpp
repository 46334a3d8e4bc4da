#include "interface/line_collector.h"

#include <cstring>

namespace brantel::session {

void LineCollector::debugLine(const char* text) {
    write(text, std::strlen(text));
    write("\n", 1);
}

void LineCollector::write(const char* text, std::size_t length) {
    if (callback_ == nullptr) return;
    const std::lock_guard<std::mutex> hold(mutex_);
    try {
        text_.append(text, length);
    } catch (const std::bad_alloc&) {
        return;  // a line less: no step fails for want of words
    }
}

void LineCollector::deliver() noexcept {
    if (callback_ == nullptr) return;
    std::string text;
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        text.swap(text_);
    }
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        if (end < text.size()) text[end] = '\0';
        callback_(user_, text.c_str() + start);
        start = end + 1;
    }
}

}  // namespace brantel::session
