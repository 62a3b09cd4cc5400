#include "BeaconryKit/platform/LargeBlocks.h"

#include "tests/support/Processes.h"

#include <gmock/gmock.h>

#include <string>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace pelorin {
namespace {

#if defined(__GLIBC__)
TEST(LargeBlocks, GoBackThoughOneHasBeenFreedBefore) {
    if (!memoryIsMeasurable)
        GTEST_SKIP() << "The sanitizers keep the memory themselves.";
    giveLargeBlocksBack();
    // The library would take this for the size of what is needed again and again.
    std::string(30'000'000, 'x').clear();
    const auto before = mallinfo2().hblkhd;
    {
        const std::string block(24'000'000, 'x');
        EXPECT_GE(mallinfo2().hblkhd, before + block.size());
    }
    EXPECT_EQ(mallinfo2().hblkhd, before);
}
#endif

} // namespace
} // namespace pelorin
