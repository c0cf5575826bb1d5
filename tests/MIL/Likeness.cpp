#include "Likeness.h"

#include <cmath>
#include <cstddef>
#include <numeric>

namespace vorlin::mil::test {

namespace {

double product(const std::vector<double>& a, const std::vector<double>& b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

Frames centred(Frames frames)
{
    const auto width = static_cast<std::size_t>(frames.width);
    std::vector<double>& numbers = frames.numbers;
    const double count = static_cast<double>(numbers.size()) / static_cast<double>(width);
    for (std::size_t i = 0; i < width; ++i) {
        double sum = 0;
        for (std::size_t k = i; k < numbers.size(); k += width) {
            sum += numbers[k];
        }
        for (std::size_t k = i; k < numbers.size(); k += width) {
            numbers[k] -= sum / count;
        }
    }
    return frames;
}

} // namespace

Frames framesOf(const TensorView& tensor, std::int64_t count)
{
    Frames frames{tensor.extent(1), {}};
    for (std::int64_t t = 0; t < count; ++t) {
        for (std::int64_t i = 0; i < frames.width; ++i) {
            frames.numbers.push_back(tensor.number(i * tensor.extent(2) + t));
        }
    }
    return frames;
}

double cosine(const Frames& a, const Frames& b)
{
    return product(a.numbers, b.numbers) /
           std::sqrt(product(a.numbers, a.numbers) * product(b.numbers, b.numbers));
}

double centredCosine(const Frames& a, const Frames& b)
{
    return cosine(centred(a), centred(b));
}

} // namespace vorlin::mil::test
