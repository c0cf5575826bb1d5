#include "Platform/Linux/Engine/EngineTensors.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

namespace vorlin {

using engine::Element;

namespace {

std::optional<MLElementType> portType(Element element)
{
    switch (element) {
    case Element::float32: return MLElementType::float32;
    case Element::float16: return MLElementType::float16;
    case Element::int32: return MLElementType::int32;
    case Element::other: break;
    }
    return std::nullopt;
}

Element wireType(MLElementType type)
{
    switch (type) {
    case MLElementType::float32: return Element::float32;
    case MLElementType::float16: return Element::float16;
    case MLElementType::int32: return Element::int32;
    }
    return Element::other;
}

std::vector<MLFeature> featuresOf(const std::vector<engine::Feature>& declared)
{
    std::vector<MLFeature> features;
    for (const auto& feature : declared) {
        MLFeature converted{.name = feature.name,
                            .elementType = portType(feature.element),
                            .shapes = {},
                            .optional = feature.optional};
        for (const auto& shape : feature.shapes) {
            auto& ranges = converted.shapes.emplace_back();
            for (const auto& range : shape) {
                ranges.push_back({range.least, range.most});
            }
        }
        features.push_back(std::move(converted));
    }
    return features;
}

bool fits(const std::vector<std::int64_t>& shape, const std::vector<ExtentRange>& ranges)
{
    return std::equal(shape.begin(), shape.end(), ranges.begin(), ranges.end(),
                      [](std::int64_t extent, const ExtentRange& range) {
                          return extent >= range.least && extent <= range.most;
                      });
}

bool isAsDeclared(const engine::Tensor& tensor, const MLFeature& feature)
{
    return portType(tensor.element) == feature.elementType &&
           std::any_of(feature.shapes.begin(), feature.shapes.end(),
                       [&](const auto& ranges) { return fits(tensor.shape, ranges); });
}

/// Copies the elements from `axis` on that lie at `from`, and returns where the next ones go.
std::byte* copyAxis(const MultiArray& array, std::size_t axis, const std::byte* from, std::byte* to)
{
    const std::size_t size = bytesOf(array.elementType());
    if (axis == array.rank()) {
        std::memcpy(to, from, size);
        return to + size;
    }
    const auto step = array.strides()[axis] * static_cast<std::int64_t>(size);
    for (std::int64_t i = 0; i < array.shape()[axis]; ++i) {
        to = copyAxis(array, axis + 1, from + i * step, to);
    }
    return to;
}

/// Makes `array` what the engine put there.
void copyOut(const std::byte* from, const engine::Tensor& tensor, MultiArray& array)
{
    const auto type = *portType(tensor.element);
    if (array.data() == nullptr || array.elementType() != type || array.shape() != tensor.shape ||
        !array.isDense()) {
        array = MultiArray(type, tensor.shape);
    }
    const std::size_t bytes = array.elementCount() * bytesOf(type);
    if (bytes > 0) {
        std::memcpy(array.data(), from, bytes);
    }
}

/// The length of the UTF-8 character at the start of `text`; 0 if there is none. Overlong forms
/// pass: they are ugly and nothing else.
std::size_t characterLength(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC0 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF8 ? 4
                                              : 0;
    if (length > text.size()) {
        return 0;
    }
    const auto tail = text.substr(std::min<std::size_t>(1, length), length > 0 ? length - 1 : 0);
    const bool whole = std::all_of(tail.begin(), tail.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    });
    return whole ? length : 0;
}

} // namespace

MLSignature signatureOf(const engine::LoadedReply& reply)
{
    return {featuresOf(reply.inputs), featuresOf(reply.outputs)};
}

ArrangedInputs arrange(const MLFeatures& inputs, const MLSignature& signature)
{
    ArrangedInputs result;
    for (const auto& [name, array] : inputs) {
        const auto found =
            std::find_if(signature.inputs.begin(), signature.inputs.end(),
                         [&](const MLFeature& feature) { return feature.name == name; });
        if (found == signature.inputs.end()) {
            throw std::runtime_error("the model has no input '" + name + "'");
        }
        const auto element = wireType(array.elementType());
        const auto bytes = engine::byteCount(element, array.shape());
        if (array.data() == nullptr) {
            throw std::runtime_error("the input '" + name + "' is an array of nothing");
        }
        if (array.rank() > engine::mostAxes || result.tensors.size() >= engine::mostFeatures ||
            !bytes || *bytes > engine::largestMemory - result.bytes) {
            throw std::runtime_error("the input '" + name + "' is too large");
        }
        result.tensors.push_back({static_cast<std::uint32_t>(found - signature.inputs.begin()),
                                  element, array.shape(), result.bytes});
        result.bytes = engine::aligned(result.bytes + *bytes);
    }
    return result;
}

bool areArrangedAs(const std::vector<engine::Tensor>& tensors, const MLFeatures& inputs,
                   const MLSignature& signature)
{
    return std::equal(tensors.begin(), tensors.end(), inputs.begin(), inputs.end(),
                      [&](const engine::Tensor& tensor, const auto& input) {
                          const auto& [name, array] = input;
                          return signature.inputs[tensor.feature].name == name &&
                                 tensor.element == wireType(array.elementType()) &&
                                 tensor.shape == array.shape() && array.data() != nullptr;
                      });
}

void copyIn(const MultiArray& array, std::byte* memory)
{
    const std::size_t count = array.elementCount();
    if (count == 0) {
        return;
    }
    if (array.isDense()) {
        std::memcpy(memory, array.data(), count * bytesOf(array.elementType()));
    } else {
        copyAxis(array, 0, array.data(), memory);
    }
}

bool collect(const std::vector<engine::Tensor>& tensors, const MLSignature& signature,
             std::span<const std::byte> memory, std::uint64_t begin, MLFeatures& features)
{
    std::bitset<engine::mostFeatures> collected;
    for (const auto& tensor : tensors) {
        if (tensor.feature >= signature.outputs.size() || collected.test(tensor.feature) ||
            !isAsDeclared(tensor, signature.outputs[tensor.feature]) ||
            !engine::liesWithin(tensor, begin, memory.size())) {
            return false;
        }
        collected.set(tensor.feature);
        copyOut(memory.data() + tensor.offset, tensor,
                features[signature.outputs[tensor.feature].name]);
    }
    const auto promised = std::ranges::count_if(
        signature.outputs, [](const MLFeature& output) { return output.elementType.has_value(); });
    return std::cmp_equal(collected.count(), promised) && features.size() == collected.count();
}

std::uint64_t expectedBytes(const std::vector<MLFeature>& features)
{
    constexpr std::uint64_t most = std::uint64_t{64} << 20; // more comes when it is needed
    std::uint64_t total = 0;
    for (const auto& feature : features) {
        std::uint64_t largest = 0;
        for (const auto& ranges : feature.shapes) {
            std::vector<std::int64_t> shape;
            for (const auto& range : ranges) {
                shape.push_back(range.most);
            }
            const auto element =
                feature.elementType ? wireType(*feature.elementType) : Element::other;
            largest = std::max(largest, engine::byteCount(element, shape).value_or(0));
        }
        total = engine::aligned(std::min(total + largest, most));
    }
    return total;
}

std::string shown(std::string text)
{
    constexpr std::size_t longest = 1000;
    std::string result;
    for (std::string_view rest = text; !rest.empty() && result.size() < longest;) {
        const std::size_t length = characterLength(rest);
        const auto first = static_cast<unsigned char>(rest[0]);
        if (length == 0) {
            result += '?';
        } else if (first < 0x20 || first == 0x7f) {
            result += ' ';
        } else {
            result += rest.substr(0, length);
        }
        rest.remove_prefix(std::max<std::size_t>(1, length));
    }
    return result;
}

} // namespace vorlin
