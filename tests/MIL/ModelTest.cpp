#include "AllocationCount.h"
#include "Bundles.h"
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin::mil::test {

namespace {

std::vector<float> run(const std::string& text, const std::vector<float>& x, const Shape& shape,
                       const std::vector<std::byte>& weights = {})
{
    const TemporaryFolder folder;
    writeBundle(folder.path, text, weights);
    Model model = Model::load(folder.path, {});
    const std::vector<NamedInput> inputs{{"x", viewOf(x, shape)}};
    return floatsOf(model.predict(inputs).front());
}

constexpr float infinity = std::numeric_limits<float>::infinity();

} // namespace

TEST(ModelTest, bothStylesAndMixturesMeanTheSame)
{
    for (const std::string text :
         {"program(1.0)\n[buildInfo = dict<tensor<string, []>, tensor<string, []>>({{\"a\", "
          "\"b\"}})]\n{ func main<ios16>(tensor<fp32, [2]> x) { tensor<fp32, []> c = "
          "const()[name = tensor<string, []>(\"c\"), val = tensor<fp32, []>(0x1.8p+0)]; "
          "tensor<fp32, [2]> y = mul(x = x, y = c)[name = tensor<string, []>(\"y\")]; } -> (y); }",
          "program(1.3){func main<ios18>(tensor<fp32,[2]>x){tensor<fp32,[2]>y=mul(x=x,y=fp32("
          "1.5));}->(y);}",
          "program ( 1 , 3 ) // a remark\n{ func main < CoreML7 > ( tensor < fp32 , [ 2 ] > x ) "
          "{ ( tensor<fp32, [2]> y ) = mul ( y = tensor<fp32, []>(15e-1) , x = x ) ; } -> ( y ) "
          "; }"}) {
        EXPECT_EQ(run(text, {2, -4}, {2}), (std::vector<float>{3, -6})) << text;
    }
}

TEST(ModelTest, infinitiesAndNotANumberAreLiterals)
{
    const auto result =
        run(programOf("tensor<fp32, [4]>", "tensor<fp32, [4]> y = add(x = x, y = tensor<fp32, [4]>"
                                           "([inf, -inf, nan, -0x0p+0]));"),
            {1, 1, 1, -0.0f}, {4});
    EXPECT_EQ(result[0], infinity);
    EXPECT_EQ(result[1], -infinity);
    EXPECT_TRUE(std::isnan(result[2]));
    EXPECT_TRUE(std::signbit(result[3]));
}

TEST(ModelTest, emptyTensorsGoThrough)
{
    const std::string text =
        programOf("tensor<fp32, [0, 3]>",
                  "tensor<fp32, [0, 3]> a = relu(x = x);\n"
                  "tensor<fp32, [0, 3]> b = softmax(axis = int32(-1), x = a);\n"
                  "tensor<fp32, [3, 0]> c = transpose(perm = tensor<int32, [2]>([1, 0]), x = b);\n"
                  "tensor<fp32, [3, 3]> d = matmul(x = c, y = a);\n"
                  "tensor<fp32, [3, 3]> y = concat(axis = int32(0), values = (d, a));");
    EXPECT_EQ(run(text, {}, {0, 3}), std::vector<float>(9));
}

TEST(ModelTest, aValueReturnedTwiceIsOneOutput)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, "program(1.3){func main<ios18>(tensor<fp32,[1]>x){tensor<fp32,[1]>y="
                             "mul(x=x,y=fp32(2));}->(y,x,y);}");
    Model model = Model::load(folder.path, {});
    const std::vector<float> x{5};
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {1})}};
    ASSERT_EQ(model.outputs().size(), 2u);
    const std::vector<NamedOutput> results = model.predict(inputs);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].name, "y");
    EXPECT_EQ(floatsOf(results[0]), std::vector<float>{10});
    EXPECT_EQ(results[1].name, "x");
    EXPECT_EQ(floatsOf(results[1]), x);
}

TEST(ModelTest, theDefaultFunctionIsTheOneTheMetadataNames)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                "program(1.3){func other<ios18>(tensor<fp32,[1]>x){tensor<fp32,[1]>y=mul(x=x,y="
                "fp32(2));}->(y);func main<ios18>(tensor<fp32,[1]>x){tensor<fp32,[1]>y=mul(x=x,y="
                "fp32(3));}->(y);}");
    const std::vector<float> x{5};
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {1})}};
    const auto result = [&](const std::string& function) {
        return floatsOf(Model::load(folder.path, {.function = function}).predict(inputs).front());
    };
    EXPECT_EQ(result(""), std::vector<float>{15});
    EXPECT_EQ(result("other"), std::vector<float>{10});
    EXPECT_THROW(result("neither"), Error);
    std::ofstream(folder.path / "metadata.json") << "[{\"defaultFunctionName\" : \"other\"}]";
    EXPECT_EQ(result(""), std::vector<float>{10});
}

TEST(ModelTest, statesStartAtZeroAndAreKept)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                "program(1.3){func main<ios18>(tensor<fp32,[1]>x,state<tensor<fp32,[1]>>s){"
                "tensor<fp32,[1]>a=read_state(input=s);tensor<fp32,[1]>y=add(x=a,y=x);"
                "write_state(data=y,input=s);}->(y);}");
    Model model = Model::load(folder.path, {});
    const std::vector<float> x{2};
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {1})}};
    EXPECT_EQ(floatsOf(model.predict(inputs).front()), std::vector<float>{2});
    EXPECT_EQ(floatsOf(model.predict(inputs).front()), std::vector<float>{4});
    Model another = Model::load(folder.path, {});
    EXPECT_EQ(floatsOf(another.predict(inputs).front()), std::vector<float>{2});
}

TEST(ModelTest, aReadSeesTheWritesInFrontOfItAndNoOtherState)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                "program(1.3){func main<ios18>(tensor<fp32,[1]>x,state<tensor<fp32,[1]>>s,"
                "state<tensor<fp32,[1]>>t){"
                "tensor<fp32,[1]>a=read_state(input=s);write_state(data=x,input=s);"
                "tensor<fp32,[1]>b=read_state(input=s);tensor<fp32,[1]>c=read_state(input=t);"
                "tensor<fp32,[3]>y=concat(axis=int32(0),values=(a,b,c));"
                "tensor<fp32,[1]>d=add(x=c,y=b);write_state(data=d,input=t);}->(y);"
                "func idle<ios18>(tensor<fp32,[1]>x,state<tensor<fp32,[1]>>s){}->(x);}");
    Model model = Model::load(folder.path, {});
    Model other = Model::load(folder.path, {});
    const auto predict = [](Model& which, float value) {
        const std::vector<float> x{value};
        const std::vector<NamedInput> inputs{{"x", viewOf(x, {1})}};
        return floatsOf(which.predict(inputs).front());
    };
    EXPECT_EQ(predict(model, 2), (std::vector<float>{0, 2, 0}));
    EXPECT_EQ(predict(model, 5), (std::vector<float>{2, 5, 2}));
    EXPECT_EQ(predict(other, 1), (std::vector<float>{0, 1, 0}));
    EXPECT_EQ(predict(model, 7), (std::vector<float>{5, 7, 7}));
    EXPECT_EQ(model.states().size(), 2u);
    Model idle = Model::load(folder.path, {.function = "idle"});
    EXPECT_EQ(predict(idle, 3), std::vector<float>{3});
}

TEST(ModelTest, anInputOrAConstantCanBeAnOutput)
{
    const std::string text =
        programOf("tensor<fp32, [2]>", "tensor<fp32, [1, 2]> y = reshape(shape = tensor<int32, "
                                       "[2]>([1, 2]), x = x);");
    EXPECT_EQ(run(text, {1, 2}, {2}), (std::vector<float>{1, 2}));
    EXPECT_EQ(run(programOf("tensor<fp32, [1]>", "fp32 y = const()[val = fp32(7)];"), {1}, {1}),
              std::vector<float>{7});
}

TEST(ModelTest, varyingShapesGrowAndShrink)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [?]>",
                          "tensor<fp32, [?]> a = square(x = x);\n"
                          "tensor<fp32, [?]> b = add(x = a, y = x);\n"
                          "tensor<fp32, [?]> y = concat(axis = int32(0), values = (b, a));"));
    Model model = Model::load(folder.path, {});
    for (const std::int64_t count : {3, 1000, 0, 5}) {
        const std::vector<float> x(static_cast<std::size_t>(count), 3.0f);
        const std::vector<NamedInput> inputs{{"x", viewOf(x, {count})}};
        std::vector<float> wanted(static_cast<std::size_t>(2 * count), 12.0f);
        std::fill(wanted.begin() + count, wanted.end(), 9.0f);
        EXPECT_EQ(floatsOf(model.predict(inputs).front()), wanted);
    }
}

// The exporter takes the shape of a select from its values alone, and drops the wrong axis of a
// vector times a stack of matrices. What follows must not rely on such a declaration.
TEST(ModelTest, aSelectOfOpenExtentsMayBeWiderThanDeclared)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, programOf("tensor<fp32, [?]>",
                                       "tensor<bool, [?]> c = greater(x = x, y = fp32(0));\n"
                                       "tensor<fp32, [1]> s = select(a = tensor<fp32, [1]>([2]), "
                                       "b = tensor<fp32, [1]>([-3]), cond = c);\n"
                                       "tensor<fp32, [1]> t = square(x = s);\n"
                                       "tensor<fp32, [1]> y = add(x = t, y = x);"));
    Model model = Model::load(folder.path, {});
    for (const std::int64_t count : {1, 5000, 3}) {
        const std::vector<float> x(static_cast<std::size_t>(count), 1.0f);
        const std::vector<NamedInput> inputs{{"x", viewOf(x, {count})}};
        const std::vector<NamedOutput> outputs = model.predict(inputs);
        EXPECT_EQ(outputs.front().type.shape, Shape{count});
        EXPECT_EQ(floatsOf(outputs.front()),
                  std::vector<float>(static_cast<std::size_t>(count), 5.0f));
    }
}

TEST(ModelTest, aVectorTimesAStackOfOpenExtentsMayBeLargerThanDeclared)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [?, 2, 3, 1]>",
                          "tensor<fp32, [2, 1, 1]> p = matmul(x = tensor<fp32, [3]>([1, 2, 3]), "
                          "y = x);\n"
                          "tensor<fp32, [2, 1, 1]> y = relu(x = p);"));
    Model model = Model::load(folder.path, {});
    const std::vector<float> x(std::size_t{4} * 6, 1.0f);
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {4, 2, 3, 1})}};
    const std::vector<NamedOutput> outputs = model.predict(inputs);
    EXPECT_EQ(outputs.front().type.shape, (Shape{4, 2, 1}));
    EXPECT_EQ(floatsOf(outputs.front()), std::vector<float>(8, 6.0f));
}

TEST(ModelTest, aDeclarationThatIsTooSmallOtherwiseIsRefusedWhenTheExtentsAreKnown)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [?, 3]>", "tensor<fp32, [1, 1]> p = matmul(x = x, y = x, "
                                                  "transpose_y = bool(true));\n"
                                                  "tensor<fp32, [1, 1]> y = relu(x = p);"));
    Model model = Model::load(folder.path, {});
    const std::vector<float> x(12);
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {4, 3})}};
    EXPECT_THROW(model.predict(inputs), Error);
}

TEST(ModelTest, aSecondPredictionAllocatesOnlyItsOutputs)
{
    Model model = Model::load(fixtures() / "parts/encoder-lut6/model.mlmodelc", {});
    const auto folder = fixtures() / "parts";
    const auto cases = nlohmann::json::parse(std::ifstream(folder / "cases.json"));
    std::vector<NpyTensor> tensors;
    std::vector<std::string> names;
    for (const nlohmann::json& entry : cases) {
        if (entry.at("case") == "encoder-lut6/short") {
            for (const auto& [name, file] : entry.at("inputs").items()) {
                names.push_back(name);
                tensors.push_back(readNpy(folder / file.get<std::string>()));
            }
        }
    }
    std::vector<NamedInput> inputs;
    for (std::size_t i = 0; i < names.size(); ++i) {
        inputs.push_back({names[i], tensors[i].view()});
    }
    model.predict(inputs);
    const std::size_t before = allocationCount();
    const auto outputs = model.predict(inputs);
    const std::size_t spent = allocationCount() - before;
    // The list of outputs, one block for each, the arranged inputs and which are filled.
    EXPECT_LE(spent, outputs.size() + 3);
}

TEST(ModelTest, aVeryLongProgramIsPlannedAndComputed)
{
    constexpr int steps = 12000;
    std::string body = "tensor<fp32, [2]> a0 = add(x = x, y = fp32(1));\n";
    for (int i = 1; i < steps; ++i) {
        // Every third value lives on to the end of its hundred.
        const int other = i - (i % 3 == 0 && i % 100 != 0 ? i % 100 : 1);
        body += "tensor<fp32, [2]> a" + std::to_string(i) + " = maximum(x = a" +
                std::to_string(i - 1) + ", y = a" + std::to_string(other) + ");\n";
    }
    body += "tensor<fp32, [2]> y = add(x = a" + std::to_string(steps - 1) + ", y = fp32(1));";
    const TemporaryFolder folder;
    writeBundle(folder.path, programOf("tensor<fp32, [2]>", body));
    Model model = Model::load(folder.path, {});
    const std::vector<float> x{1, -5};
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {2})}};
    EXPECT_EQ(floatsOf(model.predict(inputs).front()), (std::vector<float>{3, -3}));
    EXPECT_LT(model.statistics().plannedBufferBytes, std::size_t{64} * steps / 10);
}

TEST(ModelTest, aStoppedPredictionSaysSo)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, programOf("tensor<fp32, [2]>", "tensor<fp32, [2]> y = relu(x = x);"));
    Model model = Model::load(folder.path, {});
    const std::vector<float> x{1, 2};
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {2})}};
    const std::atomic<bool> stop = true;
    EXPECT_THROW(model.predict(inputs, &stop), Stopped);
    EXPECT_EQ(floatsOf(model.predict(inputs).front()), x);
}

TEST(ModelTest, aLongOperationStopsInTheMiddle)
{
    // A single product that would take minutes.
    const TemporaryFolder folder;
    writeBundle(folder.path, programOf("tensor<fp32, [6000, 6000]>",
                                       "tensor<fp32, [6000, 6000]> y = matmul(x = x, y = x);"));
    Model model = Model::load(folder.path, {.threads = 2, .referenceKernels = true});
    const std::vector<float> x(std::size_t{6000} * 6000);
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {6000, 6000})}};
    std::atomic<bool> stop = false;
    std::thread stopper([&] { stop = true; });
    EXPECT_THROW(model.predict(inputs, &stop), Stopped);
    stopper.join();
}

TEST(ModelTest, severalModelsPredictSideBySide)
{
    const auto folder = fixtures() / "parts";
    const auto cases = nlohmann::json::parse(std::ifstream(folder / "cases.json"));
    std::vector<std::thread> threads;
    std::vector<std::string> results(4);
    for (std::string& result : results) {
        threads.emplace_back([&] {
            for (const nlohmann::json& entry : cases) {
                const auto name = entry.at("case").get<std::string>();
                if (name.starts_with("decoder") || name.starts_with("joint")) {
                    result += runCase(folder, entry, {.threads = 2});
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& result : results) {
        EXPECT_EQ(result, "");
    }
}

TEST(ModelTest, backgroundPredictionsRunOnThreadsOfTheirOwn)
{
    constexpr std::int64_t count = 100000;
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [100000]>", "tensor<fp32, [100000]> y = square(x = x);"));
    std::atomic<int> started{0};
    onBackgroundThreadStart([&] { ++started; });
    const std::vector<float> x(count, 3.0f);
    const std::vector<NamedInput> inputs{{"x", viewOf(x, {count})}};
    const std::vector<float> wanted(count, 9.0f);
    {
        Model model = Model::load(folder.path, {.threads = 3});
        EXPECT_EQ(floatsOf(model.predict(inputs).front()), wanted);
        EXPECT_EQ(started, 0);
        EXPECT_EQ(floatsOf(model.predict(inputs, {}, Urgency::background).front()), wanted);
        EXPECT_EQ(floatsOf(model.predict(inputs, {}, Urgency::background).front()), wanted);
        EXPECT_EQ(floatsOf(model.predict(inputs).front()), wanted);
    } // the threads end with the last model
    onBackgroundThreadStart({});
    EXPECT_EQ(started, 2);
}

TEST(NpyTest, whatIsWrittenIsReadBack)
{
    const TemporaryFolder folder;
    const std::vector<float> values{1, 2, 3, 4, 5, 6};
    for (const Shape& shape : {Shape{2, 3}, Shape{6}, Shape{1, 6, 1}}) {
        const TensorView view = viewOf(values, shape);
        writeNpy(folder.path / "a.npy", view.type, {view.data, 24});
        const NpyTensor read = readNpy(folder.path / "a.npy");
        EXPECT_EQ(read.type, view.type);
        EXPECT_EQ(read.bytes, std::vector<std::byte>(view.data, view.data + 24));
    }
}

/// Reads a file of the version with that header and the numbers 1, 4, 2, 5, 3 and 6.
NpyTensor readWritten(int version, std::string header)
{
    const TemporaryFolder folder;
    header.resize(117, ' ');
    header += '\n';
    std::ofstream file(folder.path / "f.npy", std::ios::binary);
    file.write("\x93NUMPY", 6);
    file.put(static_cast<char>(version));
    file.write("\x00\x76\x00", 3);
    if (version > 1) {
        file.write("\x00\x00", 2);
    }
    file << header;
    const std::vector<std::int32_t> columns{1, 4, 2, 5, 3, 6};
    file.write(reinterpret_cast<const char*>(columns.data()), 24);
    file.close();
    return readNpy(folder.path / "f.npy");
}

TEST(NpyTest, fortranOrderIsTurned)
{
    for (const int version : {1, 2, 3}) {
        const NpyTensor read =
            readWritten(version, "{'descr': '<i4', 'fortran_order': True, 'shape': (2, 3), }");
        for (std::int64_t i = 0; i < 6; ++i) {
            EXPECT_EQ(read.view().integer(i), i + 1);
        }
    }
}

TEST(NpyTest, whatTheHeaderDoesNotSayIsNotGuessed)
{
    EXPECT_NO_THROW(readWritten(1, "{'descr': '<i4', 'fortran_order': False, 'shape': (2, 3), }"));
    for (const char* header : {"{'descr': '<i4', 'shape': (2, 3), }",
                               "{'descr': '<i4', 'fortran_order': Maybe, 'shape': (2, 3), }",
                               "{'descr': '>i4', 'fortran_order': False, 'shape': (2, 3), }",
                               "{'descr': '<i4', 'fortran_order': False, 'shape': (2, -3), }",
                               "{'fortran_order': False, 'shape': (2, 3), }"}) {
        EXPECT_THROW(readWritten(1, header), Error) << header;
    }
    for (const int version : {0, 4, 255}) {
        EXPECT_THROW(readWritten(version, "{'descr': '<i4', 'fortran_order': False, "
                                          "'shape': (2, 3), }"),
                     Error);
    }
}

TEST(ModelTest, threadsTogetherGiveWhatOneGives)
{
    // Fewer columns than a panel has.
    const TemporaryFolder folder;
    const std::vector<std::pair<Shape, const char*>> operands{
        {{40, 700}, "transpose_x = bool(false), transpose_y = bool(true)"},
        {{700, 40}, "transpose_x = bool(true), transpose_y = bool(false)"}};
    for (const auto& [shape, transposed] : operands) {
        writeBundle(folder.path, programOf("tensor<fp32, " + describe(shape) + ">",
                                           "tensor<fp32, [40, 40]> y = matmul(x = x, y = x, " +
                                               std::string(transposed) + ");\n"));
        std::vector<float> x;
        for (std::int64_t i = 0; i < elementCount(shape); ++i) {
            x.push_back(static_cast<float>(i * 31 % 97 - 48));
        }
        std::vector<float> alone;
        for (const std::size_t threads : {1U, 2U, 7U}) {
            Model model = Model::load(folder.path, {.threads = threads});
            const auto y = floatsOf(model.predict({{{"x", viewOf(x, shape)}}}).front());
            if (threads == 1) {
                alone = y;
            }
            EXPECT_EQ(y, alone) << threads << " threads";
        }
    }
}

} // namespace vorlin::mil::test
