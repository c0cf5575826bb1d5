// Every way a bundle or a prediction can be wrong that we know of, and what it says.
#include "Bundles.h"

#include <gtest/gtest.h>

namespace vorlin::mil::test {

namespace {

const std::string head = "program(1.3)\n{\n    func main<ios18>(tensor<fp32, [2]> x) {\n";

std::string messageOf(const std::filesystem::path& bundle)
{
    try {
        Model::load(bundle, {.largestBuffers = std::size_t{1} << 30});
        return "";
    } catch (const Error& error) {
        return error.what();
    }
}

struct Case {
    const char* name;
    std::string text;
    const char* message;
};

std::string body(std::string_view statements)
{
    return programOf("tensor<fp32, [2]>", statements);
}

std::string nested(char open, char close, int depth)
{
    return std::string(static_cast<std::size_t>(depth), open) +
           std::string(static_cast<std::size_t>(depth), close);
}

const std::vector<Case> textCases{
    {"empty text", "", "model.mil:1:1: expected 'program', found the end of the text"},
    {"truncated text", head + "tensor<fp32, [2]> y = relu(x = x)",
     "model.mil:4:34: expected '[' or ';', found the end of the text"},
    {"truncated string", head + "string y = const()[val = string(\"abc",
     "model.mil:4:33: the string that starts here does not end"},
    {"a letter of another alphabet", head + "tensor<fp32, [2]> \xC3\xA9 = relu(x = x);",
     "model.mil:4:19: expected the name of a value, found the byte 0xC3"},
    {"a zero byte", head + "tensor<fp32, [2]>" + std::string(1, '\0') + " y = relu(x = x);",
     "model.mil:4:18: expected the name of a value, found the byte 0x00"},
    {"deep nesting of types",
     head +
         [] {
             std::string types;
             for (int i = 0; i < 100000; ++i) {
                 types += "list<";
             }
             return types;
         }(),
     "model.mil:4:321: nested more than 64 levels deep"},
    {"deep nesting of literals",
     head + "list<int32, 1> y = const()[val = list<int32, 1>(" + nested('[', ']', 100000) + ")];",
     "model.mil:4:112: nested more than 64 levels deep"},
    {"deep nesting of tuples", head + "tensor<fp32, [2]> y = f(x = " + nested('(', ')', 99999),
     "model.mil:4:93: nested more than 64 levels deep"},
    {"huge integer literal", body("int32 y = const()[val = int32(99999999999999999999)];"),
     "model.mil:4:31: does not fit int32: '99999999999999999999'"},
    {"integer out of range", body("int32 y = const()[val = int32(2147483648)];"),
     "model.mil:4:31: does not fit int32: '2147483648'"},
    {"negative unsigned", body("uint8 y = const()[val = uint8(-1)];"),
     "model.mil:4:31: does not fit uint8: '-1'"},
    {"huge floating literal", body("fp16 y = const()[val = fp16(0x1p+16)];"),
     "model.mil:4:29: does not fit fp16: '0x1p+16'"},
    {"endless floating literal", body("fp32 y = const()[val = fp32(1e99999)];"),
     "model.mil:4:29: does not fit fp32: '1e99999'"},
    {"no number", body("fp32 y = const()[val = fp32(zebra)];"),
     "model.mil:4:29: expected a number, found 'zebra'"},
    {"integer that is not a number", body("int32 y = const()[val = int32(nan)];"),
     "model.mil:4:31: expected an integer, found 'nan'"},
    {"infinite integer", body("int32 y = const()[val = int32(-inf)];"),
     "model.mil:4:31: expected an integer, found '-inf'"},
    {"not-a-number as an axis", body("tensor<fp32, [2]> y = softmax(axis = fp32(nan), x = x);"),
     "model.mil:4:23: operation 'softmax' needs one integer as 'axis'"},
    {"largest of a zero extent",
     body("int32 y = reduce_argmax(axis = int32(0), x = tensor<fp32, [0]>([]));"),
     "model.mil:4:11: operation 'reduce_argmax' has nothing to choose from"},
    {"element of a zero extent",
     body("fp32 y = gather(axis = int32(0), indices = int32(0), x = tensor<fp32, [0]>([]));"),
     "model.mil:4:10: operation 'gather' has nothing to gather from"},
    {"convolution over a zero extent",
     body("tensor<fp32, [1, 1, 0]> e = const()[val = tensor<fp32, [1, 1, 0]>([[[]]])];\n"
          "tensor<fp32, [1, 1, 1]> y = conv(weight = tensor<fp32, [1, 1, 1]>([[[1]]]), x = e);"),
     "model.mil:5:29: operation 'conv' has a kernel larger than its padded input"},
    {"literal with elements for a zero extent",
     body("tensor<fp32, [0]> y = const()[val = tensor<fp32, [0]>([1])];"),
     "model.mil:4:56: the literal has more elements than its type fp32 [0]"},
    {"function defined twice",
     "program(1.3){func f<ios18>(fp32 x){}->(x);\nfunc f<ios18>(fp32 x){}->(x);}",
     "model.mil:2:6: the function 'f' is defined twice"},
    {"more parts than there are names",
     body("tensor<fp32, [1]> y = split(axis = int32(0), num_splits = int32(1073741824), x = x);"),
     "model.mil:4:23: operation 'split' cannot cut the axis into equal parts"},
    {"line ends in a quoted text", body("fp32 y = cast(dtype = string(\"a\nb\"), x = x);"),
     "model.mil:4:10: operation 'cast' cannot turn fp32 [2] into 'a?b'"},
    {"no boolean", body("bool y = const()[val = bool(1)];"),
     "model.mil:4:29: expected 'true' or 'false', found '1'"},
    {"unknown type", body("float y = const()[val = fp32(1)];"),
     "model.mil:4:7: expected '(', found 'y'"},
    {"unknown element type", body("tensor<quux, [1]> y = relu(x = x);"),
     "model.mil:4:8: unknown type 'quux'"},
    {"too many axes", body("tensor<fp32, [1,1,1,1,1,1,1,1,1,1,1,1,1]> y = relu(x = x);"),
     "model.mil:4:39: a tensor has at most 12 axes"},
    {"extent too large", body("tensor<fp32, [9999999999999]> y = relu(x = x);"),
     "model.mil:4:15: the extent 9999999999999 is too large"},
    {"too many elements in a literal",
     body("tensor<int32, [2]> y = const()[val = tensor<int32, [2]>([1, 2, 3])];"),
     "model.mil:4:64: the literal has more elements than its type int32 [2]"},
    {"too few elements in a literal",
     body("tensor<int32, [2]> y = const()[val = tensor<int32, [2]>([1])];"),
     "model.mil:4:57: the literal has fewer elements than its type int32 [2]"},
    {"literal nested unlike its type",
     body("tensor<int32, [2]> y = const()[val = tensor<int32, [2]>([[1], [2]])];"),
     "model.mil:4:58: expected a number, found '['"},
    {"literal of unknown extent",
     body("tensor<int32, [?]> y = const()[val = tensor<int32, [?]>([1])];"),
     "model.mil:4:38: a literal needs a type without '?'"},
    {"literal without elements",
     body("tensor<int32, [2]> y = const()[val = tensor<int32, [2]>()];"),
     "model.mil:4:57: expected the elements of int32 [2], found ')'"},
    {"duplicate name",
     body("tensor<fp32, [2]> y = relu(x = x);\ntensor<fp32, [2]> y = relu(x = x);"),
     "model.mil:5:19: 'y' is defined twice"},
    {"name of an input taken again", body("tensor<fp32, [2]> x = relu(x = x);"),
     "model.mil:4:19: 'x' is defined twice"},
    {"use before definition",
     body("tensor<fp32, [2]> y = relu(x = z);\ntensor<fp32, [2]> z = relu(x = x);"),
     "model.mil:4:32: 'z' is not defined here"},
    {"missing output", body("tensor<fp32, [2]> z = relu(x = x);"),
     "model.mil:5:15: 'y' is not defined here"},
    {"unknown operations, all of them",
     body("tensor<fp32, [2]> a = frobnicate(x = x);\ntensor<fp32, [2]> b = relu(x = x);\n"
          "tensor<fp32, [2]> y = defenestrate(x = b);"),
     "model.mil: unknown operations: 'frobnicate' on line 4, 'defenestrate' on line 6"},
    {"nested block", body("tensor<fp32, [2]> y = cond(pred = x) { } , { };"),
     "model.mil:4:23: nested blocks are not supported: operation 'cond'"},
    {"unknown argument", body("tensor<fp32, [2]> y = relu(x = x, slope = x);"),
     "model.mil:4:35: operation 'relu' has no argument 'slope'"},
    {"missing argument", body("tensor<fp32, [2]> y = add(x = x);"),
     "model.mil:4:23: operation 'add' lacks the argument 'y'"},
    {"argument given twice", body("tensor<fp32, [2]> y = relu(x = x, x = x);"),
     "model.mil:4:35: the argument 'x' is given twice"},
    {"argument of the wrong type", body("tensor<fp32, [2]> y = relu(x = string(\"hello\"));"),
     "model.mil:4:23: operation 'relu' cannot take a string as 'x'"},
    {"operands of different types", body("tensor<fp32, [2]> y = add(x = x, y = int32(1));"),
     "model.mil:4:23: operation 'add' does not take fp32 [2] and int32 []"},
    {"shapes that do not stretch",
     body("tensor<fp32, [2]> y = add(x = x, y = tensor<fp32, [3]>([1, 2, 3]));"),
     "model.mil:4:23: operation 'add' cannot work: shapes [2] and [3] do not stretch to one "
     "another"},
    {"shape that contradicts", body("tensor<fp32, [3]> y = relu(x = x);"),
     "model.mil:4:19: 'y' is declared fp32 [3] but is fp32 [2]"},
    {"type that contradicts", body("tensor<fp16, [2]> y = relu(x = x);"),
     "model.mil:4:19: 'y' is declared fp16 [2] but is fp32 [2]"},
    {"constant whose value contradicts",
     body("tensor<fp32, [3]> y = const()[val = tensor<fp32, [2]>([1, 2])];"),
     "model.mil:4:37: 'y' is declared fp32 [3] but is fp32 [2]"},
    {"wrong number of outputs",
     body("tensor<fp32, [1]> y, tensor<fp32, [1]> z, tensor<fp32, [1]> w = split(axis = "
          "int32(0), num_splits = int32(2), x = x);"),
     "model.mil:4:65: operation 'split' has 2 outputs"},
    {"axis that is not there", body("tensor<fp32, [2]> y = softmax(axis = int32(1), x = x);"),
     "model.mil:4:23: operation 'softmax' has no axis 1 in a tensor of rank 1"},
    {"axis beyond all numbers",
     body("tensor<fp32, [2]> y = softmax(axis = int64(9223372036854775807), x = x);"),
     "model.mil:4:23: operation 'softmax' cannot work with the number 9223372036854775807"},
    {"reshape to another size",
     body("tensor<fp32, [3]> y = reshape(shape = tensor<int32, [1]>([3]), x = x);"),
     "model.mil:4:23: operation 'reshape' cannot give fp32 [2] the shape [3]"},
    {"tensor beyond all memory",
     body("tensor<fp32, [1099511627776, 1099511627776]> y = fill(shape = tensor<int64, "
          "[2]>([1099511627776, 1099511627776]));"),
     "model.mil:4:50: a tensor of shape [1099511627776, 1099511627776] is too large"},
    {"buffers beyond what is allowed",
     body("tensor<fp32, [1073741824]> y = tile(reps = tensor<int32, [1]>([536870912]), x = "
          "x);"),
     "the program needs 4096 MiB of buffers, more than allowed"},
    {"tuple for one value", body("tensor<fp32, [2]> y = relu(x = (x, x));"),
     "model.mil:4:32: the argument 'x' takes one value"},
    {"string as an output", body("string y = const()[val = string(\"hello\")];"),
     "model.mil:5:15: the output 'y' must be a tensor of numbers"},
    {"text behind the program", body("tensor<fp32, [2]> y = relu(x = x);") + "more",
     "model.mil:7:1: expected the end of the text, found 'more'"},
    {"program without a function", "program(1.0)\n{\n}\n",
     "model.mil:4:1: the program has no function"},
    {"missing weight file",
     body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
          "string(\"@model_path/weights/other.bin\"), offset = uint64(64)))];"),
     "model.mil:4:55: the weight file '@model_path/weights/other.bin' is missing: No such "
     "file or directory"},
    {"path that leaves the bundle",
     body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
          "string(\"@model_path/../weight.bin\"), offset = uint64(64)))];"),
     "model.mil:4:55: the weight file path '@model_path/../weight.bin' leaves the bundle"},
    {"absolute path",
     body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
          "string(\"/etc/passwd\"), offset = uint64(64)))];"),
     "model.mil:4:55: the weight file path '/etc/passwd' leaves the bundle"},
    {"blob without an offset",
     body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
          "string(\"a\")))];"),
     "model.mil:4:55: a blob needs a path and an offset"},
};

} // namespace

TEST(MalformedTest, everyMalformedTextSaysWhatIsWrong)
{
    for (const Case& entry : textCases) {
        const TemporaryFolder folder;
        writeBundle(folder.path, entry.text);
        EXPECT_EQ(messageOf(folder.path), entry.message) << entry.name;
    }
}

TEST(MalformedTest, everyTruncationOfAProgramIsRefused)
{
    const std::string text = body("tensor<fp32, [2]> y = add(x = x, y = tensor<fp32, [2]>([1, "
                                  "0x1.8p+1]))[name = string(\"s\")];");
    for (std::size_t length = 0; length + 1 < text.size(); ++length) {
        const TemporaryFolder folder;
        writeBundle(folder.path, text.substr(0, length));
        EXPECT_NE(messageOf(folder.path), "") << length;
    }
}

TEST(MalformedTest, everyMalformedWeightRecordSaysWhatIsWrong)
{
    const std::string text =
        body("tensor<fp32, [2]> w = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
             "string(\"@model_path/weights/weight.bin\"), offset = uint64(64)))];\n"
             "tensor<fp32, [2]> y = add(x = x, y = w);");
    const std::string at = "model.mil:4:55: @model_path/weights/weight.bin: ";
    const std::string record = at + "the record at offset 64 ";
    struct WeightCase {
        const char* name;
        void (*spoil)(WeightBytes&);
        std::string message;
    };
    const std::vector<WeightCase> cases{
        {"as it should be", [](WeightBytes&) {}, ""},
        {"file too short", [](WeightBytes& w) { w.bytes.resize(63); },
         at + "the file is too short for its header"},
        {"another version", [](WeightBytes& w) { w.set<std::uint32_t>(4, 1); },
         at + "version 1 is not supported, only 2 is"},
        {"offset out of range", [](WeightBytes& w) { w.bytes.resize(64); },
         record + "lies outside the file"},
        {"sentinel wrong", [](WeightBytes& w) { w.set<std::uint32_t>(64, 0xDEADBEEE); },
         record + "has no sentinel"},
        {"unknown element type", [](WeightBytes& w) { w.set<std::uint32_t>(68, 99); },
         record + "has the unknown element type 99"},
        {"another element type", [](WeightBytes& w) { w.set<std::uint32_t>(68, 14); },
         record + "holds int32, the text declares fp32 [2]"},
        {"size overflow", [](WeightBytes& w) { w.set<std::uint64_t>(72, ~std::uint64_t{0}); },
         record + "has its data outside the file"},
        {"data offset overflow",
         [](WeightBytes& w) { w.set<std::uint64_t>(80, ~std::uint64_t{0} - 4); },
         record + "has its data outside the file"},
        {"data beyond the end", [](WeightBytes& w) { w.bytes.resize(132); },
         record + "has its data outside the file"},
        {"unaligned data", [](WeightBytes& w) { w.set<std::uint64_t>(80, 129); },
         record + "has unaligned data"},
        {"size that is no number of elements", [](WeightBytes& w) { w.set<std::uint64_t>(72, 7); },
         record + "has a size that is no number of elements"},
        {"other number of elements", [](WeightBytes& w) { w.set<std::uint64_t>(72, 4); },
         record + "holds 1 elements, the text declares fp32 [2]"},
    };
    for (const WeightCase& entry : cases) {
        const TemporaryFolder folder;
        WeightBytes weights;
        weights.add(2, std::vector<float>{1, 2});
        entry.spoil(weights);
        writeBundle(folder.path, text, weights.bytes);
        EXPECT_EQ(messageOf(folder.path), entry.message) << entry.name;
    }
}

TEST(MalformedTest, anOffsetBetweenRecordsIsRefused)
{
    const TemporaryFolder folder;
    WeightBytes weights;
    weights.add(2, std::vector<float>{1, 2});
    for (const auto& [offset, why] : std::vector<std::pair<std::string, std::string>>{
             {"65", "does not lie on a multiple of 64"},
             {"0", "lies in the header"},
             {"18446744073709551552", "lies outside the file"}}) {
        writeBundle(folder.path,
                    body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
                         "string(\"weights/weight.bin\"), offset = uint64(" +
                         offset + ")))];"),
                    weights.bytes);
        EXPECT_EQ(messageOf(folder.path), "model.mil:4:55: weights/weight.bin: the record at "
                                          "offset " +
                                              offset + " " + why);
    }
}

TEST(MalformedTest, aSymbolicLinkOutOfTheBundleIsRefused)
{
    const TemporaryFolder folder;
    WeightBytes weights;
    weights.add(2, std::vector<float>{1, 2});
    writeBundle(folder.path / "elsewhere", "", weights.bytes);
    writeBundle(folder.path / "bundle",
                body("tensor<fp32, [2]> y = const()[val = tensor<fp32, [2]>(BLOBFILE(path = "
                     "string(\"link/weight.bin\"), offset = uint64(64)))];"));
    std::filesystem::create_directory_symlink(folder.path / "elsewhere" / "weights",
                                              folder.path / "bundle" / "link");
    EXPECT_EQ(messageOf(folder.path / "bundle"),
              "model.mil:4:55: the weight file path 'link/weight.bin' leaves the bundle");
}

TEST(MalformedTest, aFolderOrNothingIsNoBundle)
{
    const TemporaryFolder folder;
    EXPECT_EQ(messageOf(folder.path / "nothing"),
              "there is no bundle " + (folder.path / "nothing").string());
    EXPECT_EQ(messageOf(folder.path), "cannot read " + (folder.path / "model.mil").string() +
                                          ": No such file or directory");
    std::filesystem::create_directory(folder.path / "model.mil");
    EXPECT_EQ(messageOf(folder.path),
              "cannot read " + (folder.path / "model.mil").string() + ": it is not a regular file");
}

TEST(MalformedTest, everyWrongPredictionSaysWhatIsWrong)
{
    const TemporaryFolder folder;
    writeBundle(folder.path,
                programOf("tensor<fp32, [2, ?]>", "tensor<fp32, [2, ?]> y = relu(x = x);"));
    Model model = Model::load(folder.path, {.largestBuffers = 4096});
    const std::vector<float> values(4096);
    const auto messageFor = [&](std::vector<NamedInput> inputs) -> std::string {
        try {
            model.predict(inputs);
            return "";
        } catch (const Error& error) {
            return error.what();
        }
    };
    const TensorView right = viewOf(values, {2, 3});
    TensorView integers = right;
    integers.type.element = ElementType::int32;
    TensorView absent = right;
    absent.data = nullptr;
    EXPECT_EQ(messageFor({{"x", right}}), "");
    EXPECT_EQ(messageFor({}), "the input 'x' is missing");
    EXPECT_EQ(messageFor({{"x", right}, {"z", right}}), "the model has no input 'z'");
    EXPECT_EQ(messageFor({{"x", right}, {"x", right}}), "the input 'x' is given twice");
    EXPECT_EQ(messageFor({{"x", viewOf(values, {3, 2})}}),
              "the input 'x' is declared fp32 [2, ?] but is fp32 [3, 2]");
    EXPECT_EQ(messageFor({{"x", viewOf(values, {6})}}),
              "the input 'x' is declared fp32 [2, ?] but is fp32 [6]");
    EXPECT_EQ(messageFor({{"x", integers}}),
              "the input 'x' is declared fp32 [2, ?] but is int32 [2, 3]");
    EXPECT_EQ(messageFor({{"x", absent}}), "the input 'x' has no data");
    EXPECT_EQ(messageFor({{"x", viewOf(values, {2, Extents::unknown})}}),
              "the input 'x' has an unknown extent");
    EXPECT_EQ(messageFor({{"x", viewOf(values, {2, 1024})}}),
              "model.mil:4: a buffer of 0 MiB is more than allowed");
    EXPECT_EQ(messageFor({{"x", right}}), "");
}

} // namespace vorlin::mil::test
