// Runs the tests of this program on the vector form of the kernels that the environment names in
// MIL_VECTORS (as Highway does: "SSE4", "AVX2"); on the best one where it names none.
#include <gtest/gtest.h>

#include <hwy/highway.h>

#include <cstdlib>
#include <string>

namespace {

class VectorForm : public testing::Environment {
public:
    void SetUp() override
    {
        const char* const wanted = std::getenv("MIL_VECTORS"); // NOLINT: one thread so far
        if (wanted == nullptr) {
            return;
        }
        for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
            if (std::string(wanted) == hwy::TargetName(target)) {
                hwy::SetSupportedTargetsForTest(target);
                hwy::GetChosenTarget().Update(target);
                return;
            }
        }
        GTEST_SKIP() << "this processor has no " << wanted;
    }
};

[[maybe_unused]] const testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(new VectorForm);

} // namespace
