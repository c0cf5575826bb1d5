#include "Yardstick.h"

#include "MIL/Error.h"

#include <oneapi/dnnl/dnnl.hpp>

#include <array>
#include <vector>

namespace vorlin::mil::bench {

namespace {

__attribute__((target_clones("avx512f", "avx2", "default"))) std::uint64_t
sumOf(std::span<const std::uint64_t> words)
{
    std::uint64_t sum = 0;
    for (std::uint64_t word : words) {
        sum += word;
    }
    return sum;
}

using Type = dnnl::memory::data_type;
using Tag = dnnl::memory::format_tag;

/// `count` products of `batch` matrices [m, k] x [k, n].
struct Shape {
    std::int64_t count;
    std::int64_t batch;
    std::int64_t m;
    std::int64_t k;
    std::int64_t n;
};

// 24 layers, 188 frames, width 1024, 8 heads of 128, 375 relative positions.
constexpr std::array shapes{
    Shape{1, 1, 48064, 9, 256},   // first convolution, 751 x 64 places
    Shape{1, 1, 12032, 256, 256}, // pointwise ones of the subsampling
    Shape{1, 1, 3008, 256, 256},
    Shape{1, 1, 188, 4096, 1024},  // into the layers
    Shape{48, 1, 188, 1024, 4096}, // feed-forward, in and out, two a layer
    Shape{48, 1, 188, 4096, 1024},
    Shape{96, 1, 188, 1024, 1024}, // query, key, value, output
    Shape{24, 1, 188, 1024, 2048}, // convolution module, in and out
    Shape{24, 1, 188, 1024, 1024},
    Shape{24, 8, 188, 128, 188}, // scores by content and by position, and their values
    Shape{24, 8, 188, 128, 375},
    Shape{24, 8, 188, 188, 128},
};

struct Product {
    dnnl::matmul primitive;
    dnnl::memory x;
    dnnl::memory weight;
    dnnl::memory y;
    std::int64_t count = 0;
};

Product makeProduct(const dnnl::engine& engine, const Shape& s)
{
    const bool batched = s.batch > 1;
    const auto dims = [&](std::int64_t rows, std::int64_t columns) {
        return batched ? dnnl::memory::dims{s.batch, rows, columns}
                       : dnnl::memory::dims{rows, columns};
    };
    const Tag plain = batched ? Tag::abc : Tag::ab;
    const dnnl::memory::desc x(dims(s.m, s.k), Type::f32, plain);
    const dnnl::memory::desc weight(dims(s.k, s.n), Type::f32, Tag::any);
    const dnnl::memory::desc y(dims(s.m, s.n), Type::f32, plain);
#if DNNL_VERSION_MAJOR >= 3
    const dnnl::matmul::primitive_desc description(engine, x, weight, y);
#else
    const dnnl::matmul::primitive_desc description(dnnl::matmul::desc(x, weight, y), engine);
#endif
    return {dnnl::matmul(description), dnnl::memory(x, engine),
            dnnl::memory(description.weights_desc(), engine), dnnl::memory(y, engine), s.count};
}

} // namespace

struct EncoderProducts::Implementation {
    dnnl::engine engine{dnnl::engine::kind::cpu, 0};
    dnnl::stream stream{engine};
    std::vector<Product> products;
};

EncoderProducts::EncoderProducts() : implementation(std::make_unique<Implementation>())
{
    for (const Shape& shape : shapes) {
        implementation->products.push_back(makeProduct(implementation->engine, shape));
    }
}

EncoderProducts::~EncoderProducts() = default;

void EncoderProducts::run()
{
    for (Product& product : implementation->products) {
        for (std::int64_t i = 0; i < product.count; ++i) {
            product.primitive.execute(implementation->stream, {{DNNL_ARG_SRC, product.x},
                                                               {DNNL_ARG_WEIGHTS, product.weight},
                                                               {DNNL_ARG_DST, product.y}});
        }
    }
    implementation->stream.wait();
}

double EncoderProducts::operations() const
{
    double sum = 0;
    for (const Shape& s : shapes) {
        sum += 2.0 * static_cast<double>(s.count * s.batch * s.m * s.k * s.n);
    }
    return sum;
}

PlainSum::PlainSum(const std::filesystem::path& bundle, std::size_t bytes)
    : file(bundle / "weights" / "weight.bin")
{
    if (file.bytes().size() < bytes) {
        throw Error("the weights of '" + bundle.string() + "' are fewer than those of a step");
    }
    const std::size_t count = bytes / sizeof(std::uint64_t);
    const std::size_t first = file.bytes().size() / sizeof(std::uint64_t) - count;
    words = {reinterpret_cast<const std::uint64_t*>(file.bytes().data()) + first, count};
}

std::uint64_t PlainSum::run() const
{
    return sumOf(words);
}

} // namespace vorlin::mil::bench
