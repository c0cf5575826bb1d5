#pragma once

#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Plain/ModelFeatures.h"
#include "Ports/MLModel.h"

#include <CoreML/CoreML.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace vorlin {

inline MultiArray::Extents numbersOf(NSArray<NSNumber*>* numbers)
{
    MultiArray::Extents extents;
    for (NSNumber* number in numbers) {
        extents.push_back(number.longLongValue);
    }
    return extents;
}

inline NSArray<NSNumber*>* nsNumbers(const MultiArray::Extents& extents)
{
    NSMutableArray<NSNumber*>* const numbers = [NSMutableArray array];
    for (const auto extent : extents) {
        [numbers addObject:[NSNumber numberWithLongLong:extent]];
    }
    return numbers;
}

/// The shapes that a constraint allows.
inline std::vector<std::vector<ExtentRange>> shapesOf(MLMultiArrayConstraint* constraint)
{
    MLMultiArrayShapeConstraint* const allowed = constraint.shapeConstraint;
    std::vector<std::vector<ExtentRange>> shapes;
    if (allowed.type == MLMultiArrayShapeConstraintTypeEnumerated) {
        for (NSArray<NSNumber*>* shape in allowed.enumeratedShapes) {
            shapes.push_back(exactly(numbersOf(shape)));
        }
    } else if (allowed.type == MLMultiArrayShapeConstraintTypeRange) {
        std::vector<ExtentRange> ranges;
        for (NSValue* range in allowed.sizeRangeForDimension) {
            ranges.push_back(extents(range.rangeValue.location, range.rangeValue.length));
        }
        shapes.push_back(std::move(ranges));
    } else if (constraint.shape.count > 0) {
        shapes.push_back(exactly(numbersOf(constraint.shape)));
    }
    return shapes;
}

inline std::vector<MLFeature>
featuresOf(NSDictionary<NSString*, MLFeatureDescription*>* descriptions)
{
    std::vector<MLFeature> features;
    for (NSString* name in descriptions) {
        MLFeatureDescription* const description = [descriptions objectForKey:name];
        MLFeature feature;
        feature.name = textOf(name);
        feature.optional = description.isOptional != NO;
        if (MLMultiArrayConstraint* const constraint = description.multiArrayConstraint) {
            feature.elementType = elementType(constraint.dataType);
            feature.shapes = shapesOf(constraint);
            feature.anyShape = feature.shapes.empty();
        }
        features.push_back(std::move(feature));
    }
    return features;
}

/// Core ML's array over the memory of `array`, which must stay until the array is gone; nil with
/// an error where it can make none.
inline MLMultiArray* coreArray(const MultiArray& array, NSError** error)
{
    auto* const memory = const_cast<std::byte*>(array.data());
    return autoreleased([[MLMultiArray alloc]
        initWithDataPointer:memory
                      shape:nsNumbers(array.shape())
                   dataType:static_cast<MLMultiArrayDataType>(dataType(array.elementType()))
                    strides:nsNumbers(array.strides())
                deallocator:nil
                      error:error]);
}

/// A copy of the elements as Core ML has left them, by its strides, for it gives its memory away no
/// longer than for a look; nothing when there is no array, or of elements that `MultiArray` does
/// not have.
inline std::optional<MultiArray> arrayOf(MLMultiArray* array)
{
    const auto type = array != nil ? elementType(array.dataType) : std::nullopt;
    if (!type) {
        return std::nullopt;
    }
    auto bytes = std::make_shared<std::vector<std::byte>>();
    auto& copy = *bytes;
    [array getBytesWithHandler:^(const void* memory, NSInteger size) {
      const auto* const first = static_cast<const std::byte*>(memory);
      copy.assign(first, first + size);
    }];
    return MultiArray(*type, numbersOf(array.shape), numbersOf(array.strides),
                      std::shared_ptr<std::byte>(bytes, copy.data()));
}

} // namespace vorlin
