#include <brelldata/scan/DataStore.h>

#include <cstdint>

#include <sys/mman.h>

namespace brell {

namespace {
constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
}

// Only whole large pages inside the buffer are advised; the advice is a
// hint, and a system without large pages simply ignores it.
void AdviseLargePages(void* buffer, size_t bytes)
{
    if (buffer == nullptr || bytes < 2 * kLargePage) return;
    const uintptr_t start = (reinterpret_cast<uintptr_t>(buffer) + kLargePage - 1) & ~(kLargePage - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(buffer) + bytes) & ~(kLargePage - 1);
    if (end > start) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
}

}  // namespace brell
