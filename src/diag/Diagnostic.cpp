#include "diag/Diagnostic.h"

#include <cstdio>
#include <dlfcn.h>

namespace brell::diag {
namespace {

char formatBuffer[kFormatBufferSize];

template <class Fn>
Fn Resolve(void* library, const char* name)
{
    return reinterpret_cast<Fn>(dlsym(library, name));
}

// All four entry points or none: a library that lacks one is released at once.
void LoadOutputLibrary(DiagnosticState& state)
{
    state.channelLevels.clear();
    state.library = dlopen("libscrivo.so", RTLD_NOW);
    if (state.library != nullptr) {
        state.debugOutput = Resolve<DiagnosticState::DebugOutputFn>(state.library, "DebugOutput");
        state.openDebugOutput = Resolve<DiagnosticState::OpenDebugOutputFn>(state.library, "OpenDebugOutput");
        state.reopenDebugOutput = dlsym(state.library, "ReopenDebugOutput");
        state.closeDebugOutput = Resolve<DiagnosticState::CloseDebugOutputFn>(state.library, "CloseDebugOutput");
        if (!state.debugOutput || !state.openDebugOutput || !state.reopenDebugOutput || !state.closeDebugOutput) {
            state.debugOutput = nullptr;
            state.openDebugOutput = nullptr;
            state.reopenDebugOutput = nullptr;
            state.closeDebugOutput = nullptr;
            dlclose(state.library);
            state.library = nullptr;
        }
    }
    state.loadAttempted = true;
}

}  // namespace

void PrepareDebugChannel(int32_t channel)
{
    DiagnosticState& state = State();
    if (!state.loadAttempted) LoadOutputLibrary(state);
    if (state.channelLevels.count(channel) != 0) return;
    if (state.openDebugOutput == nullptr || state.openDebugOutput(channel)) state.channelLevels.emplace(channel, 0);
}

void DebugPrintV(int32_t channel, int32_t level, const char* format, va_list args)
{
    PrepareDebugChannel(channel);
    DiagnosticState& state = State();
    if (state.debugOutput == nullptr) return;
    std::vsnprintf(formatBuffer, sizeof formatBuffer, format, args);
    state.debugOutput(channel, level, formatBuffer);
}

void DebugTrace(const char* format, ...)
{
    int32_t level = GetDebugLevel();
    va_list args;
    va_start(args, format);
    DebugPrintV(GetDebugChannel(), level, format, args);
    va_end(args);
}

void DebugError(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    DebugPrintV(GetDebugChannel(), kErrorLevel, format, args);
    va_end(args);
}

void DebugWarning(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    DebugPrintV(GetDebugChannel(), kWarningLevel, format, args);
    va_end(args);
}

void SetDebugLevel(int32_t level)
{
    int32_t channel = GetDebugChannel();
    PrepareDebugChannel(channel);
    auto found = State().channelLevels.find(channel);
    if (found != State().channelLevels.end()) found->second = level;
}

int32_t GetDebugLevel()
{
    const DiagnosticState& state = State();
    auto found = state.channelLevels.find(state.currentChannel);
    return found == state.channelLevels.end() ? 0 : found->second;
}

int32_t GetDebugChannel()
{
    return State().currentChannel;
}

void CloseDebugChannels()
{
    DiagnosticState& state = State();
    while (!state.channelLevels.empty()) {
        auto first = state.channelLevels.begin();
        if (state.closeDebugOutput != nullptr) state.closeDebugOutput(first->first);
        state.channelLevels.erase(first);
    }
    if (state.library != nullptr) {
        dlclose(state.library);
        state.library = nullptr;
        state.debugOutput = nullptr;
        state.openDebugOutput = nullptr;
        state.reopenDebugOutput = nullptr;
        state.closeDebugOutput = nullptr;
    }
}

}  // namespace brell::diag
