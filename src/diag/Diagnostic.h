#pragma once

// Diagnostic channels: numbered channels with a level each, whose text goes
// message by message to the output library libscrivo.so, loaded on the first
// diagnostic call. Without that library every call returns quietly.
// Internal to the library: nothing here is exported.

#include <cstdarg>
#include <cstdint>
#include <map>

namespace brell::diag {

// Levels: -2 an error, -1 a warning, 0 and above trace levels.
constexpr int32_t kErrorLevel = -2;
constexpr int32_t kWarningLevel = -1;

// Process-wide state, created empty when the library is loaded.
struct DiagnosticState {
    using DebugOutputFn = void (*)(int32_t channel, int32_t level, const char* text);
    using OpenDebugOutputFn = bool (*)(int32_t channel);
    using CloseDebugOutputFn = void (*)(int32_t channel);

    void* library = nullptr;
    DebugOutputFn debugOutput = nullptr;
    OpenDebugOutputFn openDebugOutput = nullptr;
    void* reopenDebugOutput = nullptr;  // must exist, never called
    CloseDebugOutputFn closeDebugOutput = nullptr;
    bool loadAttempted = false;
    std::map<int32_t, int32_t> channelLevels;
    int32_t currentChannel = 0;
};

// The process's diagnostic state, kept with the rest of the process state.
DiagnosticState& State();

// Formatting buffer size, terminating zero included; longer messages are cut.
constexpr int kFormatBufferSize = 4096;

// At the current channel's level.
void DebugTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void DebugError(const char* format, ...) __attribute__((format(printf, 1, 2)));
void DebugWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));
void DebugPrintV(int32_t channel, int32_t level, const char* format, va_list args);

// Stores the current channel's level once that channel is in the table.
void SetDebugLevel(int32_t level);
// The current channel's level, 0 while it is not in the table; loads nothing.
int32_t GetDebugLevel();
int32_t GetDebugChannel();
// Loads the output library on the first call of the process, then makes sure
// the channel is in the table (opening it through the output library).
void PrepareDebugChannel(int32_t channel);
// Shut-down: closes every channel in ascending order, releases the output library.
void CloseDebugChannels();

}  // namespace brell::diag
