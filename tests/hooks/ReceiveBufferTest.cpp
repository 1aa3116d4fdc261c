#include "hooks/ReceiveBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>

namespace vantry::test {
namespace {

TEST(ReceiveBuffer, keepsWhatWasAppended)
{
    ReceiveBuffer buffer;
    EXPECT_TRUE(buffer.isEmpty());

    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string piece(static_cast<std::size_t>(i), static_cast<char>('a' + i % 26));
        buffer.append(piece);
        expected += piece;
    }

    EXPECT_FALSE(buffer.isEmpty());
    EXPECT_EQ(buffer.bytes(), expected);
}

TEST(ReceiveBuffer, countsOfItsRoomOnlyWhatIsCommitted)
{
    ReceiveBuffer buffer;
    buffer.append("ab");

    const std::span<char> room = buffer.makeRoom(10);
    ASSERT_GE(room.size(), 10U);
    std::ranges::fill(room, 'c');
    buffer.commit(2);

    EXPECT_EQ(buffer.bytes(), "abcc");
}

TEST(ReceiveBuffer, hasReadablePaddingBehindItsBytes)
{
    ReceiveBuffer buffer;
    buffer.reserve(3);
    buffer.append("abc");

    // The address sanitizer would stop a write beyond the allocation.
    std::fill_n(const_cast<char *>(buffer.bytes().data()) + 3, HookEvent::padding, 'x');

    EXPECT_EQ(buffer.bytes(), "abc");
}

TEST(ReceiveBuffer, doesNotMoveWithinWhatWasReserved)
{
    ReceiveBuffer buffer;
    buffer.reserve(100);
    buffer.append("a");
    const char *const before = buffer.bytes().data();

    buffer.append(std::string(99, 'b'));

    EXPECT_EQ(buffer.bytes().data(), before);
}

TEST(ReceiveBuffer, isEmptyAfterClearing)
{
    ReceiveBuffer buffer;
    buffer.append("ab");

    buffer.clear();
    EXPECT_TRUE(buffer.isEmpty());
    buffer.append("c");

    EXPECT_EQ(buffer.bytes(), "c");
}

TEST(ReceiveBuffer, tellsWhenMemoryHasRunOut)
{
    ReceiveBuffer buffer;
    buffer.append("kept");

    EXPECT_THROW(buffer.reserve(SIZE_MAX), std::bad_alloc);

    EXPECT_EQ(buffer.bytes(), "kept");
}

} // namespace
} // namespace vantry::test
