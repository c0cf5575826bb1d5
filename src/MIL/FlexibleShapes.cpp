#include "MIL/FlexibleShapes.h"

namespace vorlin::mil {

bool ShapeRange::contains(const Shape& shape) const
{
    if (shape.size() != least.size()) {
        return false;
    }
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] < least[i] || (most[i] != Extents::unknown && shape[i] > most[i])) {
            return false;
        }
    }
    return true;
}

std::string describe(const ShapeRange& range)
{
    std::string text = "[";
    for (std::size_t i = 0; i < range.least.size(); ++i) {
        text += i == 0 ? "" : ", ";
        text += std::to_string(range.least[i]);
        if (range.most[i] == Extents::unknown) {
            text += " or more";
        } else if (range.most[i] != range.least[i]) {
            text += ".." + std::to_string(range.most[i]);
        }
    }
    return text + "]";
}

} // namespace vorlin::mil
