#include "driver/target_information.h"

#include <gtest/gtest.h>

#include <memory>

#include "orvcasconv/orvcasconv.h"

namespace {

// More than can be moved one place forward for each.
TEST(TargetInformationTest, AnyNumberOfTargetsIsHandedOut) {
    constexpr std::size_t kTargets = 1000000;
    auto list = std::make_unique<CasTargetInformationList>();
    list->Items.resize(kTargets);
    void* const handle = list.release();
    OrvChar* guid = nullptr;
    OrvChar* name = nullptr;
    std::size_t count = 0;
    while (GetNextCasTargetInformation(handle, &guid, &name) == 0) {
        ++count;
    }
    EXPECT_EQ(count, kTargets);
    EXPECT_EQ(ReleaseCasTargetInformation(handle), 0U);
}

}  // namespace
