// Chains of element-wise operations: the whole program against its operations one by one.
#include "Bundles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vorlin::mil::test {

namespace {

struct Value {
    std::string name;
    TensorType type;
    std::vector<std::byte> bytes;
};

struct Operation {
    std::string name;
    std::string arguments; // with the operands' names
    std::vector<std::size_t> operands;
    std::size_t result = 0;
};

std::string textOf(const TensorType& type)
{
    return "tensor<" + describe(type).substr(0, describe(type).find('[')) + ", " +
           describe(type.shape) + ">";
}

/// A random program of element-wise operations that mostly share one shape.
class RandomProgram {
public:
    explicit RandomProgram(unsigned seed) : random(seed)
    {
        static const Shape shapes[] = {{3, 5461}, {2, 7, 1171}, {8193}, {1, 40}, {4, 4096}, {1}};
        shape = shapes[random() % std::size(shapes)];
        const ElementType element = random() % 2 == 0 ? ElementType::fp16 : ElementType::fp32;
        addInput("a", {element, shape});
        addInput("b", {element, shape});
        Shape row = shape;
        row[0] = 1;
        addInput("row", {element, row});
        addInput("one", {element, Extents::filled(shape.size(), 1)});
        inputs = values.size();
        const std::size_t count = 2 + random() % 20;
        for (std::size_t i = 0; i < count; ++i) {
            addOperation();
        }
    }

    std::string statement(const Operation& operation) const
    {
        const Value& result = values[operation.result];
        return textOf(result.type) + " " + result.name + " = " + operation.name + "(" +
               operation.arguments + ");\n";
    }

    /// The program of these operations, with these values as its parameters and its outputs.
    std::string program(const std::vector<Operation>& body,
                        const std::vector<std::size_t>& parameters,
                        const std::vector<std::size_t>& results) const
    {
        std::string text = "program(1.3)\n{\n func main<ios18>(";
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const Value& value = values[parameters[i]];
            text += (i == 0 ? "" : ", ") + textOf(value.type) + " " + value.name;
        }
        text += ") {\n";
        for (const Operation& operation : body) {
            text += statement(operation);
        }
        text += "} -> (";
        for (std::size_t i = 0; i < results.size(); ++i) {
            text += (i == 0 ? "" : ", ") + values[results[i]].name;
        }
        return text + ");\n}\n";
    }

    std::vector<NamedInput> arguments(const std::vector<std::size_t>& parameters) const
    {
        std::vector<NamedInput> list;
        for (std::size_t id : parameters) {
            list.push_back({values[id].name, {values[id].type, values[id].bytes.data()}});
        }
        return list;
    }

    std::size_t pick(std::size_t count) { return random() % count; }

    std::mt19937 random;
    Shape shape;
    std::vector<Value> values; // inputs first, then every operation's result
    std::size_t inputs = 0;
    std::vector<Operation> operations;

private:
    void addInput(const std::string& name, const TensorType& type)
    {
        std::vector<std::byte> bytes(byteCount(type));
        const TensorBuffer buffer{type, bytes.data()};
        std::uniform_real_distribution<double> numbers(-4, 4);
        for (std::int64_t i = 0; i < buffer.elements(); ++i) {
            buffer.set(i, numbers(random));
        }
        values.push_back({name, type, bytes});
    }

    /// A random value of that element type; a recent one rather than an old one.
    std::size_t find(ElementType element, bool full)
    {
        std::vector<std::size_t> found;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (values[i].type.element == element && (!full || values[i].type.shape == shape)) {
                found.push_back(i);
            }
        }
        return found[found.size() - 1 - std::min(pick(found.size()), pick(found.size()))];
    }

    bool has(ElementType element) const
    {
        return std::any_of(values.begin(), values.end(),
                           [&](const Value& v) { return v.type.element == element; });
    }

    void add(const std::string& name, ElementType element,
             const std::vector<std::pair<std::string, std::size_t>>& operands,
             const std::string& rest = "")
    {
        Operation operation{name, "", {}, values.size()};
        Shape result = Extents::filled(shape.size(), 1);
        for (const auto& [parameter, id] : operands) {
            operation.arguments +=
                (operation.arguments.empty() ? "" : ", ") + parameter + " = " + values[id].name;
            operation.operands.push_back(id);
            for (std::size_t i = 0; i < result.size(); ++i) {
                result[i] = std::max(result[i], values[id].type.shape[i]);
            }
        }
        operation.arguments += rest;
        values.push_back({"v" + std::to_string(values.size()), {element, result}, {}});
        operations.push_back(operation);
    }

    void addOperation()
    {
        static const char* const unary[] = {"relu", "sigmoid", "silu", "abs", "square", "floor"};
        static const char* const binary[] = {"add", "sub", "mul", "maximum", "real_div"};
        static const char* const logic[] = {"logical_and", "logical_xor", "equal"};
        const ElementType element = values[find(values[pick(2)].type.element, true)].type.element;
        switch (pick(8)) {
        case 0: add(unary[pick(6)], element, {{"x", find(element, false)}}); return;
        case 1:
            add("less", ElementType::boolean,
                {{"x", find(element, true)}, {"y", find(element, false)}});
            return;
        case 2:
        case 3:
            if (has(ElementType::boolean)) {
                add("select", element,
                    {{"cond", find(ElementType::boolean, false)},
                     {"a", find(element, false)},
                     {"b", find(element, false)}});
                return;
            }
            break;
        case 4:
            if (has(ElementType::boolean)) {
                const std::size_t x = find(ElementType::boolean, false);
                if (pick(2) == 0) {
                    add("logical_not", ElementType::boolean, {{"x", x}});
                } else {
                    add(logic[pick(3)], ElementType::boolean,
                        {{"x", x}, {"y", find(ElementType::boolean, false)}});
                }
                return;
            }
            break;
        case 5:
            add("cast", ElementType::int32, {{"x", find(element, false)}},
                ", dtype = string(\"int32\")");
            add("mul", ElementType::int32, {{"x", values.size() - 1}, {"y", values.size() - 1}});
            add("cast", element, {{"x", values.size() - 1}},
                element == ElementType::fp16 ? ", dtype = string(\"fp16\")"
                                             : ", dtype = string(\"fp32\")");
            return;
        default: break;
        }
        add(binary[pick(5)], element, {{"x", find(element, false)}, {"y", find(element, false)}});
    }
};

std::vector<std::size_t> countTo(std::size_t count)
{
    std::vector<std::size_t> numbers(count);
    for (std::size_t i = 0; i < count; ++i) {
        numbers[i] = i;
    }
    return numbers;
}

} // namespace

TEST(ChainTest, everyValueIsWhatItsOperationGivesAlone)
{
    const TemporaryFolder folder;
    for (unsigned seed = 0; seed < 150; ++seed) {
        RandomProgram program(seed);
        for (const Operation& operation : program.operations) {
            std::vector<std::size_t> operands = operation.operands;
            std::sort(operands.begin(), operands.end());
            operands.erase(std::unique(operands.begin(), operands.end()), operands.end());
            writeBundle(folder.path, program.program({operation}, operands, {operation.result}));
            Model model = Model::load(folder.path, {});
            program.values[operation.result].bytes =
                model.predict(program.arguments(operands)).front().bytes;
        }
        // The last value, and some others: what nobody asks for may be written over.
        std::vector<std::size_t> results{program.values.size() - 1};
        for (std::size_t i = program.inputs; i + 1 < program.values.size(); ++i) {
            if (program.pick(6) == 0) {
                results.push_back(i);
            }
        }
        const auto parameters = countTo(program.inputs);
        const std::string text = program.program(program.operations, parameters, results);
        writeBundle(folder.path, text);
        for (const std::size_t threads : {1U, 3U}) {
            Model model = Model::load(folder.path, {.threads = threads});
            for (int round = 0; round < 2; ++round) {
                const auto outputs = model.predict(program.arguments(parameters));
                for (std::size_t i = 0; i < results.size(); ++i) {
                    ASSERT_EQ(outputs[i].bytes, program.values[results[i]].bytes)
                        << "seed " << seed << ", output " << outputs[i].name << "\n"
                        << text;
                }
            }
        }
    }
}

TEST(ChainTest, aChainIsOneStepAndWorksInOneBuffer)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [4096]>",
                          "tensor<fp32, [4096]> a = relu(x = x);\n"
                          "tensor<fp32, [4096]> b = mul(x = a, y = fp32(0x1p-1));\n"
                          "tensor<bool, [4096]> c = less(x = b, y = x);\n"
                          "tensor<fp32, [4096]> y = select(a = b, b = x, cond = c);\n"));
    Model model = Model::load(folder.path, {});
    model.collectTimes(true);
    const std::vector<float> x(4096, 3);
    EXPECT_EQ(floatsOf(model.predict({{{"x", viewOf(x, {4096})}}}).front()),
              std::vector<float>(4096, 1.5f));
    const auto times = model.times();
    ASSERT_EQ(times.size(), 1u);
    EXPECT_EQ(times.begin()->first, "relu mul less select");
    EXPECT_EQ(model.statistics().plannedBufferBytes, 4096u * 4 + 4096);
}

TEST(ChainTest, aChainEndsWhereAnOperandStretches)
{
    const TemporaryFolder folder;
    writeBundle(folder.path, programOf("tensor<fp32, [1, 2]>",
                                       "tensor<fp32, [1, 2]> a = square(x = x);\n"
                                       "tensor<fp32, [2, 1]> b = transpose(perm = tensor<int32, "
                                       "[2]>([1, 0]), x = a);\n"
                                       "tensor<fp32, [2, 1]> c = abs(x = b);\n"
                                       "tensor<fp32, [2, 2]> y = add(x = c, y = a);\n"));
    Model model = Model::load(folder.path, {});
    model.collectTimes(true);
    const std::vector<float> x{2, 3};
    EXPECT_EQ(floatsOf(model.predict({{{"x", viewOf(x, {1, 2})}}}).front()),
              (std::vector<float>{8, 13, 13, 18}));
    EXPECT_EQ(model.times().size(), 4u);
}

} // namespace vorlin::mil::test
