#include "MIL/Kernels/Normalisation/RowFunctions.h"

#include <algorithm>
#include <cmath>

namespace vorlin::mil::reference {

void softmaxRow(float* row, std::int64_t width)
{
    const float most = *std::max_element(row, row + width);
    double sum = 0;
    for (std::int64_t i = 0; i < width; ++i) {
        sum += std::exp(static_cast<double>(row[i]) - static_cast<double>(most));
    }
    for (std::int64_t i = 0; i < width; ++i) {
        row[i] = static_cast<float>(
            std::exp(static_cast<double>(row[i]) - static_cast<double>(most)) / sum);
    }
}

void normaliseRow(float* row, std::int64_t width, double epsilon, const float* gamma,
                  const float* beta)
{
    double sum = 0;
    for (std::int64_t i = 0; i < width; ++i) {
        sum += static_cast<double>(row[i]);
    }
    const double mean = sum / static_cast<double>(width);
    double squares = 0;
    for (std::int64_t i = 0; i < width; ++i) {
        const double distance = static_cast<double>(row[i]) - mean;
        squares += distance * distance;
    }
    const double scale = 1 / std::sqrt(squares / static_cast<double>(width) + epsilon);
    for (std::int64_t i = 0; i < width; ++i) {
        double value = (static_cast<double>(row[i]) - mean) * scale;
        value = gamma == nullptr ? value : value * static_cast<double>(gamma[i]);
        value = beta == nullptr ? value : value + static_cast<double>(beta[i]);
        row[i] = static_cast<float>(value);
    }
}

} // namespace vorlin::mil::reference
