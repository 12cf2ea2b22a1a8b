#include <gtest/gtest.h>

#include "storage/kvxconformance/Conformance.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    storage::kvxconformance::registerConformanceTests(storage::kvxconformance::transport());
    return RUN_ALL_TESTS();
}
