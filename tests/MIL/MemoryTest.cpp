// What loading may allocate: a bound that holds for whatever the files say.
#include "AllocationCount.h"
#include "Bundles.h"
#include "Fixtures.h"

#include <gtest/gtest.h>

namespace vorlin::mil::test {

namespace {

/// Loading holds at most this much beside the mapped files: the parsed text, the program made of
/// it, and what stored constants need (palettes and scales as floats, counts of mask bits).
std::size_t allowed(std::size_t textBytes, std::size_t weightBytes)
{
    return (std::size_t{4} << 20) + 256 * textBytes + 64 * weightBytes;
}

struct Load {
    std::size_t peak = 0;
    std::string failure;
};

Load loadCounted(const std::filesystem::path& bundle)
{
    Load load;
    beginPeak();
    try {
        const Model model = Model::load(bundle, {});
        load.peak = peakBytes();
    } catch (const Error& error) {
        load.peak = peakBytes();
        load.failure = error.what();
    }
    return load;
}

std::size_t sizeOf(const std::filesystem::path& file)
{
    std::error_code absent;
    const auto size = std::filesystem::file_size(file, absent);
    return absent ? 0 : static_cast<std::size_t>(size);
}

/// `count` statements in a row, numbered where the pattern says `#`.
std::string repeated(std::string_view pattern, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        for (char c : pattern) {
            if (c == '#') {
                text += std::to_string(i);
            } else {
                text += c;
            }
        }
    }
    return text;
}

void expectBounded(const char* name, const std::string& text,
                   const std::vector<std::byte>& weights = {})
{
    const TemporaryFolder folder;
    writeBundle(folder.path, text, weights);
    const Load load = loadCounted(folder.path);
    EXPECT_LE(load.peak, allowed(text.size(), weights.size()))
        << name << ": " << text.size() << " bytes of text, " << weights.size() << " of weights; "
        << load.failure;
}

} // namespace

TEST(MemoryTest, loadingAFixtureTakesABoundedMultipleOfItsFiles)
{
    for (const std::string group : {"ops", "parts"}) {
        for (const auto& entry : std::filesystem::directory_iterator(fixtures() / group)) {
            const auto bundle = entry.path() / "model.mlmodelc";
            if (std::filesystem::is_directory(bundle)) {
                const Load load = loadCounted(bundle);
                EXPECT_EQ(load.failure, "") << bundle;
                EXPECT_LE(load.peak, allowed(sizeOf(bundle / "model.mil"),
                                             sizeOf(bundle / "weights" / "weight.bin")))
                    << bundle;
            }
        }
    }
}

TEST(MemoryTest, noTextMakesLoadingTakeMore)
{
    constexpr int many = 20000;
    const std::string type = "tensor<fp32, [2]>";
    const auto body = [&](const std::string& statements) { return programOf(type, statements); };
    const std::string last = type + " y = relu(x = x);";
    expectBounded("statements", body(repeated("fp32 a#=relu(x=x);", many)));
    expectBounded("statements in use",
                  "program(1)\n{func main<ios18>(fp32 a0){fp32 a1=relu(x=a0);" +
                      repeated("fp32 b#=relu(x=a1);", many) + "}->(a1);}");
    expectBounded("unknown operations", body(repeated("f();", many)));
    expectBounded("constants", body(repeated("bool a#=const()[val=bool(true)];", many) + last));
    expectBounded("inputs", "program(1)\n{func main<ios18>(" + repeated("fp32 a#,", many) +
                                "fp32 x){}->(x);}");
    expectBounded("outputs",
                  body(repeated("fp32 a#,", many) + "fp32 z=split(axis=int32(0),x=x);" + last));
    expectBounded("functions", "program(1)\n{" + repeated("func f#<i>(){}->();", 5000) + "}");
    expectBounded("operands",
                  body(type + " y=concat(axis=int32(0),values=(" + repeated("x,", many) + "x));"));
    expectBounded("numbers", body("tensor<int32, [100000]> c = const()[val = tensor<int32, "
                                  "[100000]>([" +
                                  repeated("1,", 99999) + "1])];" + last));
    expectBounded("types", body("tuple<" + repeated("fp32,", many) + "fp32> a = f();"));
    expectBounded("flexible shapes",
                  "program(1)\n{func main<ios18>(tensor<fp32,[?]> x)[FlexibleShapeInformation=t((("
                  "\"EnumeratedShapes\",{{\"\",{" +
                      repeated("{\"x\",[1]},", many) + "{\"x\",[1]}}}})))]{}->(x);}");
    expectBounded("a large state", "program(1)\n{func main<ios18>(fp32 x,state<tensor<fp32,[500000"
                                   "000]>> s){}->(x);}");
    expectBounded("a large buffer", body("tensor<fp32,[1000000000]> y=tile(reps=tensor<int32,[1]>("
                                         "[500000000]),x=x);"));
    expectBounded("folded constants",
                  body(repeated("tensor<fp32,[200000]> a#=fill(shape=int32(200000));", 5000)));
}

TEST(MemoryTest, noReuseOfWeightsMakesLoadingTakeMore)
{
    WeightBytes weights;
    const std::size_t scales = weights.add(2, std::vector<float>(65536, 1.0f));
    const std::size_t data = weights.add(4, std::vector<std::int8_t>(65536, 1));
    const std::size_t mask = weights.add(9, std::vector<std::uint8_t>(8192, 0xff));
    const auto blob = [](const std::string& type, std::size_t offset) {
        return type + "(BLOBFILE(path=string(\"weights/weight.bin\"),offset=uint64(" +
               std::to_string(offset) + ")))";
    };
    const std::string floats = blob("tensor<fp32,[65536]>", scales);
    const std::string bits = blob("tensor<uint1,[65536]>", mask);
    const std::string last = "tensor<fp32,[2]> y=relu(x=x);";
    const std::string scaled = "tensor<fp32,[65536]> a#=constexpr_blockwise_shift_scale(data=" +
                               blob("tensor<int8,[65536]>", data) + ",scale=" + floats + ");";
    const std::string sparse = "tensor<fp32,[65536]> a#=constexpr_sparse_to_dense(mask=" + bits +
                               ",nonzero_data=" + floats + ");";
    const std::string inside =
        "tensor<fp32,[65536]> s=constexpr_sparse_to_dense(mask=" + bits +
        ",nonzero_data=" + floats + ");" +
        repeated("tensor<fp32,[65536]> a#=constexpr_blockwise_shift_scale(data=s,scale=s);", 3000);
    for (const std::string& statements :
         {repeated(scaled, 3000), repeated(sparse, 20000), inside}) {
        expectBounded("stored forms", programOf("tensor<fp32,[2]>", statements + last),
                      weights.bytes);
    }
}

} // namespace vorlin::mil::test
