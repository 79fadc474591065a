#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace brell::tool {

namespace {

constexpr auto kDelay = std::chrono::seconds(1);
constexpr auto kRedraw = std::chrono::milliseconds(200);
constexpr int kBarWidth = 24;

}  // namespace

Progress::Progress(bool enabled, std::string task, int steps) : task_(std::move(task)), steps_(std::max(steps, 1))
{
    if (enabled) thread_ = std::thread([this] { Run(); });
}

Progress::~Progress()
{
    if (!thread_.joinable()) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        finished_ = true;
    }
    wake_.notify_one();
    thread_.join();
    if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::Step(std::string what)
{
    std::lock_guard<std::mutex> lock(mutex_);
    ++done_;
    what_ = std::move(what);
}

void Progress::Run()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (wake_.wait_until(lock, start_ + kDelay, [this] { return finished_; })) return;
    while (!finished_) {
        Draw();
        wake_.wait_for(lock, kRedraw, [this] { return finished_; });
    }
}

void Progress::Draw()
{
    const int filled = kBarWidth * std::clamp(done_, 0, steps_) / steps_;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    std::fprintf(stderr, "\r\033[K%s [%s%s] %s %.1f s", task_.c_str(), std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, '.').c_str(), what_.c_str(), seconds);
    std::fflush(stderr);
    shown_ = true;
}

bool ProgressWanted(bool quiet)
{
    return !quiet && isatty(STDERR_FILENO) != 0;
}

}  // namespace brell::tool
