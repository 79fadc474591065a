#include "io/StreamLimit.h"

#include <climits>
#include <utility>

namespace brell::io::detail {
namespace {

thread_local uint64_t limit = INT_MAX;

}  // namespace

uint64_t NodeStreamLimit()
{
    return limit;
}

NodeStreamLimitScope::NodeStreamLimitScope(uint64_t lowered) : previous_(std::exchange(limit, lowered)) {}

NodeStreamLimitScope::~NodeStreamLimitScope()
{
    limit = previous_;
}

}  // namespace brell::io::detail
