// SPDX-License-Identifier: MIT
// The main function of the test programs that need a Qt application. If a program only lists its tests,
// it creates no application.
#include "platform/testing/testing.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const TestApplication application{argc, argv};
    return RUN_ALL_TESTS();
}
