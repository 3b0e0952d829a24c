// The main function of test programs that write the fixed paths.
#include <gtest/gtest.h>

#include "PrivateMounts.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The build lists the tests, which must work without privileges.
    if (!GTEST_FLAG_GET(list_tests)) {
        EnterPrivateMounts();
    }
    return RUN_ALL_TESTS();
}
