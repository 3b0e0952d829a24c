// The main function of the program's unit tests.
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    setenv("ZN_LOG_LEVEL", "off", 1);  // the library logs thousands of refused lists
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
