#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace brell::tool {

namespace {

constexpr auto kDelay = std::chrono::seconds(1);
constexpr auto kRedraw = std::chrono::milliseconds(200);
constexpr int kBarWidth = 24;

double Milliseconds(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

Progress::Progress(Bar bar, bool showTimes, std::string task, int steps)
    : task_(std::move(task)),
      steps_(std::max(steps, 1)),
      showTimes_(showTimes),
      files_([this](uint64_t done, uint64_t total) {
          Advance(total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1.0);
      })
{
    if (bar == Bar::none) return;
    const auto delay = bar == Bar::atOnce ? std::chrono::steady_clock::duration::zero() : kDelay;
    thread_ = std::thread([this, delay] { Run(delay); });
}

Progress::~Progress()
{
    Finish();
}

void Progress::Step(std::string what)
{
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard<std::mutex> lock(mutex_);
    if (finished_) return;
    CloseStep(now);
    ++done_;
    fraction_ = 0.0;
    what_ = std::move(what);
}

void Progress::Advance(double fraction)
{
    std::lock_guard<std::mutex> lock(mutex_);
    fraction_ = std::clamp(fraction, 0.0, 1.0);
}

void Progress::Finish()
{
    const auto now = std::chrono::steady_clock::now();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (finished_) return;
        CloseStep(now);
        finished_ = true;
    }
    if (!thread_.joinable()) return;
    wake_.notify_one();
    thread_.join();
    if (shown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void Progress::End()
{
    Finish();
    if (!showTimes_) return;
    size_t width = 5;
    double total = 0.0;
    for (const auto& [what, ms] : times_) width = std::max(width, what.size()), total += ms;
    for (const auto& [what, ms] : times_) std::printf("%-*s %10.1f ms\n", static_cast<int>(width), what.c_str(), ms);
    std::printf("%-*s %10.1f ms\n", static_cast<int>(width), "total", total);
}

void Progress::CloseStep(std::chrono::steady_clock::time_point now)
{
    if (done_ >= 0) times_.emplace_back(what_, Milliseconds(now - stepStart_));
    stepStart_ = now;
}

void Progress::Run(std::chrono::steady_clock::duration delay)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (delay > delay.zero() && wake_.wait_until(lock, start_ + delay, [this] { return finished_; })) return;
    // Drawn at least once, so a bar asked for at once shows even on the quickest run.
    do {
        Draw();
        wake_.wait_for(lock, kRedraw, [this] { return finished_; });
    } while (!finished_);
}

void Progress::Draw()
{
    const double done = std::clamp(done_ + fraction_, 0.0, static_cast<double>(steps_));
    const int filled = static_cast<int>(kBarWidth * done / steps_);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    std::fprintf(stderr, "\r\033[K%s [%s%s] %s %.1f s", task_.c_str(), std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, '.').c_str(), what_.c_str(), seconds);
    std::fflush(stderr);
    shown_ = true;
}

Bar BarWanted(bool quiet, bool forced)
{
    if (quiet) return Bar::none;
    if (forced) return Bar::atOnce;
    return isatty(STDERR_FILENO) != 0 ? Bar::afterASecond : Bar::none;
}

}  // namespace brell::tool
