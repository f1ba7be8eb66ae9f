// SPDX-License-Identifier: MIT
// The downcast of a pointer by the runtime class records.
#include "platform/doc.h"
#include "platform/messages.h"

#include <gtest/gtest.h>

namespace
{
TEST(RuntimeClass, DowncastFollowsTheRecords)
{
    CCmdTarget target;
    EXPECT_EQ(DynamicDowncast<CCmdTarget>(&target), &target);
    EXPECT_EQ(DynamicDowncast<CDocument>(&target), nullptr);
    EXPECT_EQ(DynamicDowncast<CDocument>(nullptr), nullptr);
}
} // namespace
