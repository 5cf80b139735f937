#include "support/smart_buffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "tests/fixture/failing_calls.h"

namespace {

static_assert(!std::is_copy_constructible_v<SmartBuffer>);
static_assert(!std::is_copy_assignable_v<SmartBuffer>);

TEST(SmartBufferTest, ANewBufferHoldsTheEmptyTextAndItsCapacity) {
    const SmartBuffer buffer;
    EXPECT_STREQ(buffer.m_data, "");
    EXPECT_EQ(buffer.m_capacity, 1024U);
}

TEST(SmartBufferTest, PointerAndCapacityAreTheFirstTwoMembers) {
    static_assert(std::is_standard_layout_v<SmartBuffer>);
    static_assert(std::is_same_v<decltype(SmartBuffer::m_data), char*>);
    static_assert(std::is_same_v<decltype(SmartBuffer::m_capacity), std::uint32_t>);
    EXPECT_EQ(offsetof(SmartBuffer, m_data), 0U);
    EXPECT_EQ(offsetof(SmartBuffer, m_capacity), sizeof(char*));
}

TEST(SmartBufferTest, TheWholeCapacityIsTheBuffersOwn) {
    const SmartBuffer first;
    const SmartBuffer second;
    std::memset(first.m_data, 'a', first.m_capacity);
    std::memset(second.m_data, 'b', second.m_capacity);
    for (std::uint32_t i = 0; i < first.m_capacity; ++i) {
        ASSERT_EQ(first.m_data[i], 'a') << i;
        ASSERT_EQ(second.m_data[i], 'b') << i;
    }
}

TEST(SmartBufferTest, WithoutMemoryThereIsNoBuffer) {
    bool failed = false;
    {
        const FailingCall failing(Call::kNew, ENOMEM);
        try {
            const SmartBuffer buffer;
        } catch (const std::bad_alloc&) {
            failed = true;
        }
    }
    EXPECT_TRUE(failed);
}

}  // namespace
