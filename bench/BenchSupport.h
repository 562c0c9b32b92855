#pragma once

// What every benchmark here needs: files of a given size, and timings.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

// A file of `size` bytes (at most 64 KiB) of real data.
inline void makeFile(const std::filesystem::path &path, std::size_t size)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    static const std::string data(65536, 'x');
    if (size > 0 && ::write(fd, data.data(), std::min(size, data.size())) < 0)
        std::perror("write");
    ::close(fd);
}

inline double seconds(Clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// The median wall time of `runs` runs.
template <typename F>
double median(int runs, F &&run)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        run();
        times.push_back(seconds(Clock::now() - start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// The fastest of `runs` runs.
template <typename F>
double best(int runs, F &&run)
{
    double fastest = 1e9;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        run();
        fastest = std::min(fastest, seconds(Clock::now() - start));
    }
    return fastest;
}

} // namespace bench
