#include "PlainFiles.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

size_t FileSize(const std::string& path)
{
    struct stat status {};
    stat(path.c_str(), &status);
    return static_cast<size_t>(status.st_size);
}

void PlainWrite(const std::string& path, const std::vector<char>& bytes)
{
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t put = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (put <= 0) break;
        done += static_cast<size_t>(put);
    }
    fsync(descriptor);
    close(descriptor);
}

void PlainRead(const std::string& path, size_t size)
{
    char* buffer = static_cast<char*>(brell::AllocateBulk(size));
    const int descriptor = open(path.c_str(), O_RDONLY);
    for (size_t done = 0; done < size;) {
        const ssize_t got = read(descriptor, buffer + done, size - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(descriptor);
    benchmark::DoNotOptimize(buffer);
    brell::FreeBulk(buffer);
}

void PlainReadInto(const std::string& path, brell::BulkVector<char>& buffer)
{
    const int descriptor = open(path.c_str(), O_RDONLY);
    for (size_t done = 0; done < buffer.size();) {
        const ssize_t got = read(descriptor, buffer.data() + done, buffer.size() - done);
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(descriptor);
    benchmark::DoNotOptimize(buffer.data());
}
