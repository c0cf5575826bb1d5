// Whether this program's kernels are those it is for.
#include "MIL/SumVectors.h"

#include <gtest/gtest.h>

namespace vorlin::mil::test {

TEST(ProductFormTest, thePlainestFormRuns)
{
    EXPECT_TRUE(describeVectors(SumVectors::fitting).starts_with("SCALAR"))
        << describeVectors(SumVectors::fitting);
}

} // namespace vorlin::mil::test
