#include "Parakeet/ParakeetLoaded.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

namespace {

constexpr std::int64_t any = -1;
using Shape = std::vector<std::int64_t>; // an extent may be `any`

/// What the decoding will give, or wants to get.
struct Wanted {
    std::string name;
    std::optional<MLElementType> elementType; // nothing: each will do
    std::optional<Shape> shape;               // nothing: each will do
};

std::string described(const Wanted& wanted)
{
    std::string text = wanted.elementType ? std::string(nameOf(*wanted.elementType)) : "array";
    if (!wanted.shape) {
        return text;
    }
    text += " [";
    for (std::size_t axis = 0; axis < wanted.shape->size(); ++axis) {
        const auto extent = (*wanted.shape)[axis];
        text += (axis > 0 ? ", " : "") + (extent == any ? "?" : std::to_string(extent));
    }
    return text + "]";
}

bool fits(const std::vector<ExtentRange>& axes, const Shape& shape)
{
    return std::ranges::equal(axes, shape, [](const ExtentRange& range, std::int64_t extent) {
        return extent == any || (range.least <= extent && extent <= range.most);
    });
}

/// An input takes the shape if one of those it declares does.
bool takes(const MLFeature& input, const Shape& shape)
{
    return input.anyShape ||
           std::ranges::any_of(input.shapes, [&](const auto& axes) { return fits(axes, shape); });
}

/// An output may come in any of the shapes it declares: each must do.
bool gives(const MLFeature& output, const Shape& shape)
{
    const auto fitsAll = [&](const auto& axes) { return fits(axes, shape); };
    return output.anyShape ||
           (!output.shapes.empty() && std::ranges::all_of(output.shapes, fitsAll));
}

/// One of the four models, as its errors name it.
class Checked {
public:
    Checked(const char* bundle, const MLModel& model) : bundle(bundle), signature(model.signature())
    {
    }

    /// The model takes exactly these; it may have more that need not be given.
    void inputs(const std::vector<Wanted>& given) const
    {
        for (const auto& wanted : given) {
            const MLFeature& feature = find(signature.inputs, "input", wanted.name);
            check(feature, "input", wanted, !wanted.shape || takes(feature, *wanted.shape));
        }
        for (const auto& feature : signature.inputs) {
            const bool isGiven = std::ranges::any_of(
                given, [&](const Wanted& wanted) { return wanted.name == feature.name; });
            if (!isGiven && !feature.optional) {
                fail("wants the input \"" + feature.name + "\", which this program does not have");
            }
        }
    }

    /// The declaration of an output.
    const MLFeature& output(const Wanted& wanted) const
    {
        const MLFeature& feature = find(signature.outputs, "output", wanted.name);
        check(feature, "output", wanted, !wanted.shape || gives(feature, *wanted.shape));
        return feature;
    }

    [[noreturn]] void fail(const std::string& why) const
    {
        throw std::runtime_error(std::string("The model ") + bundle + " " + why + ".");
    }

private:
    const MLFeature& find(const std::vector<MLFeature>& features, const char* kind,
                          const std::string& name) const
    {
        const auto found = std::ranges::find(features, name, &MLFeature::name);
        if (found == features.end()) {
            fail(std::string("has no ") + kind + " \"" + name + "\"");
        }
        return *found;
    }

    void check(const MLFeature& feature, const char* kind, const Wanted& wanted,
               bool shapeFits) const
    {
        const bool typeFits = feature.elementType &&
                              (!wanted.elementType || feature.elementType == wanted.elementType);
        if (!typeFits || !shapeFits) {
            fail(std::string("has an ") + kind + " \"" + wanted.name + "\" that is not " +
                 described(wanted));
        }
    }

    const char* bundle;
    const MLSignature& signature;
};

/// What another model's output will be for the input it is handed to: its type, and its shape
/// where it is declared as one.
Wanted from(const MLFeature& output, const std::string& name)
{
    Wanted wanted{name, output.elementType, std::nullopt};
    if (output.shapes.size() == 1) {
        Shape shape;
        for (const auto& range : output.shapes.front()) {
            shape.push_back(range.least == range.most ? range.least : any);
        }
        wanted.shape = std::move(shape);
    }
    return wanted;
}

} // namespace

void checkFeatures(const ParakeetLoaded& models)
{
    using enum MLElementType;

    const Checked preprocessor("Preprocessor.mlmodelc", *models.preprocessor);
    preprocessor.inputs(
        {{"audio_signal", float32, Shape{1, 240000}}, {"audio_length", int32, Shape{1}}});
    const auto& mel = preprocessor.output({"mel", {}, {}});
    const auto& melLength = preprocessor.output({"mel_length", {}, {}});

    const Checked encoder("Encoder.mlmodelc", *models.encoder);
    encoder.inputs({from(mel, "mel"), from(melLength, "mel_length")});
    const auto& frames = encoder.output({"encoder", {}, Shape{1, any, any}});
    encoder.output({"encoder_length", {}, {}});

    const Checked decoder("Decoder.mlmodelc", *models.decoder);
    const Shape state{2, 1, 640};
    decoder.inputs({{"targets", int32, Shape{1, 1}},
                    {"target_length", int32, Shape{1}},
                    {"h_in", float32, state},
                    {"c_in", float32, state}});
    // They go in again as "h_in" and "c_in".
    decoder.output({"h_out", float32, state});
    decoder.output({"c_out", float32, state});
    const auto& step = decoder.output({"decoder", {}, {}});

    const Checked joint("JointDecisionv3.mlmodelc", *models.joint);
    const auto width = from(frames, "encoder").shape.value_or(Shape{1, any, any})[1];
    joint.inputs({{"encoder_step", float32, Shape{1, width, 1}}, from(step, "decoder_step")});
    joint.output({"token_id", {}, {}});
    joint.output({"duration", {}, {}});
}

} // namespace vorlin
