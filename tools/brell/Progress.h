#pragma once

#include <brelldata/io/Files.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace brell::tool {

// The steps of a command's work: a progress bar on standard error and, when
// asked for, a table of their times on standard output. The bar appears only
// once the work has taken a second, so quick runs stay silent; it moves with
// the steps and, within a step, with the bytes of the file being read or
// saved, and is cleared before the command writes anything else.
enum class Bar { none, afterASecond, atOnce };

class Progress {
public:
    Progress(Bar bar, bool showTimes, std::string task, int steps);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Begins the next step, which the bar and the table name.
    void Step(std::string what);
    // How far the current step has come, from 0 to 1.
    void Advance(double fraction);
    // Clears the bar for good and stops the clock, before the command's own output.
    void Finish();
    // Finishes, then prints the table of times when it was asked for.
    void End();

private:
    void Run(std::chrono::steady_clock::duration delay);
    void Draw();
    void CloseStep(std::chrono::steady_clock::time_point now);

    std::string task_;
    int steps_;
    bool showTimes_;
    int done_ = -1;
    double fraction_ = 0.0;
    std::string what_;
    bool shown_ = false;
    bool finished_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point stepStart_ = start_;
    std::vector<std::pair<std::string, double>> times_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::thread thread_;
    io::FileProgressScope files_;
};

// The bar standard error gets: none when asked to be quiet, at once when asked
// for, otherwise after a second and only on a terminal.
Bar BarWanted(bool quiet, bool forced);

}  // namespace brell::tool
