#include "Translation.h"

#include <limits>

namespace vorlin::engine {

namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

std::vector<Range> rangesOf(const mil::Shape& shape)
{
    std::vector<Range> ranges;
    for (const auto extent : shape) {
        ranges.push_back(extent == mil::Extents::unknown ? Range{0, unlimited}
                                                         : Range{extent, extent});
    }
    return ranges;
}

std::vector<Range> rangesOf(const mil::ShapeRange& accepted)
{
    std::vector<Range> ranges;
    for (std::size_t axis = 0; axis < accepted.least.size(); ++axis) {
        const auto most = accepted.most[axis];
        ranges.push_back({accepted.least[axis], most == mil::Extents::unknown ? unlimited : most});
    }
    return ranges;
}

std::vector<Feature> featuresOf(const std::vector<mil::FeatureDescription>& descriptions)
{
    std::vector<Feature> features;
    for (const auto& description : descriptions) {
        Feature feature;
        feature.name = description.name;
        feature.element = crossing(description.type.element);
        for (const auto& accepted : description.accepted) {
            feature.shapes.push_back(rangesOf(accepted));
        }
        if (feature.shapes.empty()) {
            feature.shapes.push_back(rangesOf(description.type.shape));
        }
        features.push_back(std::move(feature));
    }
    return features;
}

} // namespace

Element crossing(mil::ElementType type)
{
    switch (type) {
    case mil::ElementType::fp32: return Element::float32;
    case mil::ElementType::fp16: return Element::float16;
    case mil::ElementType::int32: return Element::int32;
    default: return Element::other;
    }
}

std::optional<mil::ElementType> computed(Element element)
{
    switch (element) {
    case Element::float32: return mil::ElementType::fp32;
    case Element::float16: return mil::ElementType::fp16;
    case Element::int32: return mil::ElementType::int32;
    case Element::other: break;
    }
    return std::nullopt;
}

LoadedReply signatureOf(const mil::Model& model)
{
    return {featuresOf(model.inputs()), featuresOf(model.outputs())};
}

} // namespace vorlin::engine
