#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace brell::tool {

// A progress bar on standard error for work made of a few steps. It appears
// only once the work has taken a second, so quick runs stay silent, and is
// cleared when the work ends. Disabled, it does nothing at all.
class Progress {
public:
    Progress(bool enabled, std::string task, int steps);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Begins the next step, which the bar names.
    void Step(std::string what);

private:
    void Run();
    void Draw();

    std::string task_;
    int steps_;
    int done_ = -1;
    std::string what_;
    bool shown_ = false;
    bool finished_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
    std::condition_variable wake_;
    std::thread thread_;
};

// Whether a bar belongs on standard error: a terminal, and not asked to be quiet.
bool ProgressWanted(bool quiet);

}  // namespace brell::tool
