#include "velm/platform/debug_output.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

namespace {

struct DebugOutput {
    // Recursive, so that a sink may itself send debug text or set another sink.
    std::recursive_mutex mutex;
    velm::DebugSink sink = nullptr;
    void* context = nullptr;
    bool had_sink = false;
    std::string kept;
};

// Never destroyed: text may come from the destructors of static objects.
DebugOutput& debug_output() {
    static DebugOutput& output = *new DebugOutput;
    return output;
}

constexpr std::size_t format_limit = 1024;

} // namespace

void OutputDebugStringA(const char* text) {
    if (text == nullptr) return;
    DebugOutput& output = debug_output();
    const std::lock_guard lock(output.mutex);
    if (output.sink != nullptr) {
        output.sink(text, output.context);
    } else if (!output.had_sink) {
        const std::size_t room = velm::debug_output_kept - output.kept.size();
        output.kept.append(text, std::min(room, std::strlen(text)));
    }
}

int wsprintfA(char* buffer, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, format_limit, format, arguments);
    va_end(arguments);
    return std::clamp(length, 0, static_cast<int>(format_limit) - 1);
}

void velm::set_debug_sink(DebugSink sink, void* context) {
    DebugOutput& output = debug_output();
    const std::lock_guard lock(output.mutex);
    output.sink = sink;
    output.context = context;
    if (sink == nullptr || output.had_sink) return;
    output.had_sink = true;
    const std::string kept = std::move(output.kept);
    output.kept = std::string();
    if (!kept.empty()) sink(kept.c_str(), context);
}
