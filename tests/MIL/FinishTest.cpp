// Products that compute the element-wise operations behind them in their sinks: the whole program
// against its operations one by one.
#include "Bundles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace vorlin::mil::test {

namespace {

struct Statement {
    std::string text; // "conv(...)" or the like
    std::vector<std::string> reads;
    std::string result;
};

/// A random program: a product, and behind it operations of which most can be in its sink.
class RandomProgram {
public:
    explicit RandomProgram(unsigned seed) : random(seed)
    {
        element = pick(2) == 0 ? ElementType::fp16 : ElementType::fp32;
        static constexpr const char* products[] = {"linear", "matmul", "stack",
                                                   "point",  "image",  "depth"};
        addProduct(products[pick(std::size(products))]);
        addInput("residual", result);
        addInput("line", {result.back()});
        addInput("one", Extents::filled(result.size(), 1));
        Shape mask = result;
        mask[0] = 1;
        if (result.size() > 2) {
            mask[1] = 1;
        }
        addInput("mask", mask);
        const std::size_t count = 1 + pick(6);
        for (std::size_t i = 0; i < count; ++i) {
            addLink();
        }
        // The last value, and sometimes one that another operation reads, too.
        outputs.push_back(last);
        if (pick(3) == 0 && statements.front().result != last) {
            outputs.push_back(statements[pick(statements.size() - 1)].result);
        }
    }

    /// These statements, with what they read and do not compute as parameters.
    std::string program(const std::vector<Statement>& body,
                        const std::vector<std::string>& results) const
    {
        std::string text;
        for (const std::string& name : parametersOf(body)) {
            text += (text.empty() ? "" : ", ") + typeOf(name) + " " + name;
        }
        text = "program(1.3)\n{\n func main<ios18>(" + text + ") {\n";
        for (const Statement& statement : body) {
            text +=
                typeOf(statement.result) + " " + statement.result + " = " + statement.text + ";\n";
        }
        text += "} -> (";
        for (const std::string& name : results) {
            text += (&name == results.data() ? "" : ", ") + name;
        }
        return text + ");\n}\n";
    }

    std::vector<NamedInput> arguments(const std::vector<Statement>& body) const
    {
        std::vector<NamedInput> list;
        for (const std::string& name : parametersOf(body)) {
            const Value& value = values.at(name);
            list.push_back({values.find(name)->first, {value.type, value.bytes.data()}});
        }
        return list;
    }

    struct Value {
        TensorType type;
        std::vector<std::byte> bytes;
    };
    std::map<std::string, Value> values;
    std::vector<Statement> statements;
    std::vector<std::string> outputs;

private:
    std::size_t pick(std::size_t count) { return random() % count; }

    std::string typeOf(const std::string& name) const
    {
        const TensorType& type = values.at(name).type;
        return std::string("tensor<") + (type.element == ElementType::fp16 ? "fp16" : "fp32") +
               ", " + describe(type.shape) + ">";
    }

    static std::vector<std::string> parametersOf(const std::vector<Statement>& body)
    {
        std::vector<std::string> names;
        for (const Statement& statement : body) {
            for (const std::string& name : statement.reads) {
                const auto makes = [&](const Statement& s) { return s.result == name; };
                if (std::none_of(body.begin(), body.end(), makes) &&
                    std::find(names.begin(), names.end(), name) == names.end()) {
                    names.push_back(name);
                }
            }
        }
        return names;
    }

    void addInput(const std::string& name, const Shape& shape)
    {
        Value value{{element, shape}, {}};
        value.bytes.resize(byteCount(value.type));
        const TensorBuffer buffer{value.type, value.bytes.data()};
        std::uniform_real_distribution<double> numbers(-2, 2);
        for (std::int64_t i = 0; i < buffer.elements(); ++i) {
            buffer.set(i, numbers(random));
        }
        values[name] = std::move(value);
    }

    void add(const std::string& text, const std::vector<std::string>& reads)
    {
        const std::string name = "v" + std::to_string(statements.size());
        values[name] = {{element, result}, {}};
        statements.push_back({text, reads, name});
        last = name;
    }

    void addProduct(const std::string& kind)
    {
        const auto extent = [&] { return static_cast<std::int64_t>(1 + pick(90)); };
        const std::int64_t rows = extent();
        const std::int64_t columns = extent();
        const bool biased = pick(2) == 0;
        addInput("bias", {rows});
        const std::string bias = biased ? ", bias = bias" : "";
        if (kind == "linear") {
            // Often as wide as what comes in, which a link may then read, too.
            const std::int64_t inner = pick(2) == 0 ? rows : extent();
            addInput("x", {1, columns, inner});
            addInput("weight", {rows, inner});
            result = {1, columns, rows};
            add("linear(x = x, weight = weight" + bias + ")", {"x", "weight", "bias"});
        } else if (kind == "matmul" || kind == "stack") {
            const std::int64_t stack = kind == "stack" ? 3 : 1;
            addInput("x", {stack, rows, columns});
            addInput("weight", {stack, columns, columns});
            result = {stack, rows, columns};
            add("matmul(x = x, y = weight, transpose_x = bool(false), transpose_y = bool(true))",
                {"x", "weight"});
        } else {
            const std::int64_t taps = kind == "point" ? 1 : 3;
            const bool depth = kind == "depth";
            const std::int64_t stride = kind != "point" && pick(2) == 0 ? 2 : 1;
            const std::int64_t inner = depth ? rows : extent();
            addInput("x", {1, inner, 5, columns});
            addInput("weight", {rows, depth ? 1 : inner, taps, taps});
            result = {1, rows, 4 / stride + 1, (columns - 1) / stride + 1};
            const std::string two = "tensor<int32, [2]>([" + std::to_string(stride) + ", " +
                                    std::to_string(stride) + "])";
            add("conv(x = x, weight = weight" + bias + ", strides = " + two +
                    ", pad_type = string(\"" + (taps == 1 ? "valid" : "custom") +
                    "\"), pad = tensor<int32, [4]>([" + (taps == 1 ? "0, 0, 0, 0" : "1, 1, 1, 1") +
                    "]), dilations = tensor<int32, [2]>([1, 1]), groups = int32(" +
                    std::to_string(depth ? rows : 1) + "))",
                {"x", "weight", "bias"});
        }
        if (!biased) {
            std::erase(statements.back().reads, "bias");
        }
    }

    void addLink()
    {
        static constexpr const char* unary[] = {"silu", "sigmoid", "relu", "square", "floor"};
        static constexpr const char* binary[] = {"add", "mul", "sub", "maximum"};
        static constexpr const char* others[] = {"residual", "line", "one", "mask", "x"};
        if (pick(3) == 0) {
            const std::string name = unary[pick(std::size(unary))];
            add(name + "(x = " + last + ")", {last});
            return;
        }
        const std::string name = binary[pick(std::size(binary))];
        std::string other = others[pick(std::size(others))];
        if (other == "x" && values.at("x").type.shape != result) {
            other = "residual";
        }
        if (pick(8) == 0) {
            other = statements[pick(statements.size())].result;
        }
        const bool first = pick(2) == 0;
        add(name + "(x = " + (first ? other : last) + ", y = " + (first ? last : other) + ")",
            {last, other});
    }

    std::mt19937 random;
    ElementType element = ElementType::fp32;
    Shape result;
    std::string last;
};

} // namespace

TEST(FinishTest, everyValueIsWhatItsOperationGivesAlone)
{
    const TemporaryFolder folder;
    for (unsigned seed = 0; seed < 300; ++seed) {
        RandomProgram program(seed);
        for (const Statement& statement : program.statements) {
            writeBundle(folder.path, program.program({statement}, {statement.result}));
            Model model = Model::load(folder.path, {});
            program.values.at(statement.result).bytes =
                model.predict(program.arguments({statement})).front().bytes;
        }
        const std::string text = program.program(program.statements, program.outputs);
        writeBundle(folder.path, text);
        for (const std::size_t threads : {1U, 3U}) {
            Model model = Model::load(folder.path, {.threads = threads});
            for (int round = 0; round < 2; ++round) {
                for (const NamedOutput& output :
                     model.predict(program.arguments(program.statements))) {
                    ASSERT_EQ(output.bytes, program.values.at(output.name).bytes)
                        << "seed " << seed << ", output " << output.name << "\n"
                        << text;
                }
            }
        }
    }
}

TEST(FinishTest, aProductAndWhatFollowsItAreOneStepInOneBuffer)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [96, 1]>",
                          "tensor<fp32, [96, 64]> weight = tile(reps = tensor<int32, [2]>([1, "
                          "64]), x = x);\n"
                          "tensor<fp32, [96, 96]> a = linear(x = weight, weight = weight);\n"
                          "tensor<fp32, [96, 96]> b = relu(x = a);\n"
                          "tensor<fp32, [96, 96]> c = mul(x = b, y = fp32(0x1p-1));\n"
                          "tensor<fp32, [96, 96]> y = add(x = x, y = c);\n"));
    Model model = Model::load(folder.path, {});
    model.collectTimes(true);
    const std::vector<float> x(96, 1);
    EXPECT_EQ(floatsOf(model.predict({{{"x", viewOf(x, {96, 1})}}}).front()),
              std::vector<float>(96 * 96, 33));
    const auto times = model.times();
    // The last operand stretches along another axis than the sink runs: a step of its own.
    EXPECT_EQ(times.count("linear relu mul"), 1u);
    EXPECT_EQ(times.count("add"), 1u);
    EXPECT_EQ(model.statistics().plannedBufferBytes, 4u * 96 * (64 + 96));
}

TEST(FinishTest, whatAProductReadsIsNotWrittenOverByItsFinish)
{
    // The left factor is read again for each block of columns.
    constexpr std::int64_t n = 1024;
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [1024, 1024]>",
                          "tensor<fp32, [1024, 1024]> own = relu(x = x);\n"
                          "tensor<fp32, [1024, 1024]> a = matmul(x = own, y = x, transpose_x = "
                          "bool(false), transpose_y = bool(false));\n"
                          "tensor<fp32, [1024, 1024]> y = add(x = own, y = a);\n"));
    Model model = Model::load(folder.path, {.threads = 2});
    std::vector<float> x(n * n);
    for (std::size_t i = 0; i < n; ++i) {
        x[i * n + i] = static_cast<float>(i);
        x[i * n + n - 1 - i] = 2;
    }
    const auto y = floatsOf(model.predict({{{"x", viewOf(x, {n, n})}}}).front());
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t far = n - 1 - i;
        ASSERT_EQ(y[i * n + i], static_cast<float>(i * i + i + 4)) << "row " << i;
        ASSERT_EQ(y[i * n + far], static_cast<float>(2 * (n - 1) + 2)) << "row " << i;
    }
}

} // namespace vorlin::mil::test
