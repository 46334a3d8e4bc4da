#include <windows.h>

#include <mutex>

#include "support/output_capture.h"

namespace brantel::test {

namespace {

struct Caught {
    std::mutex mutex;
    std::vector<std::string> lines;
};

Caught& caught() {
    static Caught instance;
    return instance;
}

/// OutputDebugStringA raises this exception, on the thread that writes, before it turns to a debugger.
constexpr DWORD debugPrintException = 0x40010006;

LONG CALLBACK keepDebugLine(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != debugPrintException || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]);  // counts the final zero
    const auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    const std::lock_guard<std::mutex> hold(caught().mutex);
    caught().lines.emplace_back(text, length == 0 ? 0 : length - 1);
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

std::vector<std::string> captureDebugLines(const std::function<void()>& run) {
    {
        const std::lock_guard<std::mutex> hold(caught().mutex);
        caught().lines.clear();
    }
    void* handler = AddVectoredExceptionHandler(1, keepDebugLine);
    run();
    RemoveVectoredExceptionHandler(handler);
    const std::lock_guard<std::mutex> hold(caught().mutex);
    return caught().lines;
}

}  // namespace brantel::test
